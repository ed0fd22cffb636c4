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

struct Leftovers {
    std::string lines;
    bool in_the_way = false;
};

/// Nothing, too, when it may belong to an evaluation that runs.
Leftovers find_leftovers(const Roots& roots) {
    Leftovers found;
    const UndoList list(roots);
    for (const UndoEntry& entry : list.entries()) {
        found.lines += "  " + name_of(entry) + "\n";
        // A drive that was taken stays ours, and an evaluation may begin on it as it is.
        if (entry.kind != Kind::kDrive && entry.kind != Kind::kPartitions) found.in_the_way = true;
    }
    return found.lines.empty() || evaluation_runs(roots) ? Leftovers{} : found;
}

bool wants_cleanup() {
    if (::isatty(STDIN_FILENO) == 0) return false;
    fmt::print(stderr, "Undo that now? [y/N] ");
    std::string answer;
    std::getline(std::cin, answer);
    const std::string_view word = trimmed(answer);
    return word == "y" || word == "yes";
}

}  // namespace

void offer_cleanup(const Roots& roots) {
    const Leftovers left = find_leftovers(roots);
    if (left.lines.empty()) return;
    fmt::print(stderr, "This host still has, of an evaluation that is gone:\n{}", left.lines);
    if (wants_cleanup()) ::execl("/proc/self/exe", "ssd-op-host", "cleanup", nullptr);
    if (!left.in_the_way) {
        fmt::print(stderr,
                   "An evaluation can begin all the same; ssd-op --host cleanup empties them.\n");
        return;
    }
    throw Failure("No evaluation begins while that is there.",
                  "ssd-op --host cleanup gives the host back what it was.");
}

}  // namespace host
