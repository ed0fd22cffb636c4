#include "taking/release.h"

#include <algorithm>

#include <fmt/format.h>

#include "core/failure.h"
#include "core/text.h"
#include "enrolment/enrolled.h"
#include "undo/undo_list.h"

namespace host {

void release(const Roots& roots, const std::string& serial) {
    using Kind = UndoEntry::Kind;
    const UndoList undo(roots);  // nobody takes the drive meanwhile
    const auto has = [&](Kind kind) { return undo.find(kind, serial) != nullptr; };
    if (has(Kind::kDrive) || has(Kind::kPartitions)) {
        throw Failure(
            fmt::format("The drive {} is not emptied yet of what evaluations wrote to it.",
                        printable(serial)),
            fmt::format("First: ssd-op --host cleanup. If the drive is gone for good: ssd-op "
                        "--host cleanup --forget {}",
                        printable(serial)));
    }
    if (!remove_enrolled(roots, serial)) {
        throw Failure(fmt::format("The drive {} is not enrolled.", printable(serial)),
                      "See ssd-op-host drives list.");
    }
}

}  // namespace host
