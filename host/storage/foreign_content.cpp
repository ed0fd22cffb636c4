#include "storage/foreign_content.h"

#include <algorithm>

#include <fmt/format.h>

#include "core/failure.h"
#include "enrolment/enrolled.h"
#include "refusal/content.h"
#include "storage/layout.h"

namespace host {

namespace {

bool content_may_go(const Roots& roots, const Drive& drive) {
    const auto enrolled = enrolled_drives(roots);
    return std::any_of(enrolled.begin(), enrolled.end(),
                       [&](const Enrolled& one) { return one.is(drive) && one.wipe; });
}

}  // namespace

void refuse_content_of_others(const Roots& roots, const Drive& drive, int file) {
    const auto signatures = signatures_in(file);
    if (signatures.empty() || content_may_go(roots, drive)) return;
    throw Failure(fmt::format("The drive {} holds {}, which is not ours.", drive.identity.serial,
                              signatures.front().text()),
                  "If it may go: wipefs --all " + drive.device(roots));
}

bool has_rest_of_our_table(const UndoList& undo, const Drive& drive, int file) {
    const auto signatures = signatures_in(file);
    return std::any_of(signatures.begin(), signatures.end(), [&](const Signature& found) {
        return found.type == "gpt" && is_our_table(undo, drive, found.table);
    });
}

}  // namespace host
