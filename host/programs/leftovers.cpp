#include "programs/leftovers.h"

#include <cstdio>
#include <iostream>
#include <string>

#include <fmt/format.h>
#include <unistd.h>

#include "core/failure.h"
#include "core/text.h"
#include "storage/undoing.h"
#include "undo/evaluations.h"
#include "undo/undo_list.h"

namespace host {

namespace {

using Kind = UndoEntry::Kind;

/// A drive that was taken stays ours, and an evaluation may begin on it as it is.
bool stands_in_the_way(const UndoEntry& entry) {
    return entry.kind != Kind::kDrive && entry.kind != Kind::kPartitions;
}

/// Empty when there is nothing, or when it may belong to an evaluation that runs.
std::string leftovers(const Roots& roots) {
    std::string lines;
    const UndoList list(roots);
    for (const UndoEntry& entry : list.entries())
        if (stands_in_the_way(entry)) lines += "  " + name_of(entry) + "\n";
    return lines.empty() || evaluation_runs(roots) ? "" : lines;
}

bool wants_cleanup() {
    if (::isatty(STDIN_FILENO) == 0) return false;
    fmt::print("Undo that now? [y/N] ");
    std::fflush(stdout);
    std::string answer;
    std::getline(std::cin, answer);
    const std::string_view word = trimmed(answer);
    return word == "y" || word == "yes";
}

}  // namespace

void offer_cleanup(const Roots& roots) {
    const std::string lines = leftovers(roots);
    if (lines.empty()) return;
    fmt::print("This host still has, of an evaluation that is gone:\n{}", lines);
    std::fflush(stdout);
    if (wants_cleanup()) ::execl("/proc/self/exe", "ssd-op-host", "cleanup", nullptr);
    throw Failure("No evaluation begins while that is there.",
                  "ssd-op --host cleanup gives the host back what it was.");
}

}  // namespace host
