#include "storage/foreign_content.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "core/failure.h"
#include "core/read.h"
#include "drives/partition.h"
#include "enrolment/enrolled.h"
#include "refusal/content.h"
#include "refusal/stack.h"
#include "storage/layout.h"

namespace host {

namespace {

bool content_may_go(const Roots& roots, const Drive& drive) {
    const auto enrolled = enrolled_drives(roots);
    return std::any_of(enrolled.begin(), enrolled.end(),
                       [&](const Enrolled& one) { return one.is(drive) && one.wipe; });
}

/// All that the kernel knows.
std::vector<Partition> partitions_of(const Drive& drive) {
    std::vector<Partition> partitions;
    for (const Member& member : family_of(drive)) {
        const auto number = read_number(member.directory + "/partition");
        auto found = number ? partition_of(drive, static_cast<int>(*number)) : std::nullopt;
        if (found) partitions.push_back(std::move(*found));
    }
    return partitions;
}

bool is_of_pools(const Signature& signature) {
    return signature.type == "linux_raid_member" || signature.type == "LVM2_member";
}

}  // namespace

void refuse_content_of_others(const Roots& roots, const Drive& drive, int file) {
    const auto signatures = signatures_in(file);
    if (signatures.empty() || content_may_go(roots, drive)) return;
    throw Failure(fmt::format("The drive {} holds {}, which is not ours.", drive.identity.serial,
                              signatures.front().text()),
                  "If it may go: wipefs --all " + drive.device(roots));
}

void refuse_partitions_of_others(const Roots& roots, const Drive& drive, int file) {
    if (content_may_go(roots, drive)) return;
    for (const Partition& partition : partitions_of(drive)) {
        for (const Signature& found : signatures_in(file, partition.start, partition.bytes)) {
            if (is_of_pools(found)) continue;
            throw Failure(
                fmt::format("{} on the drive {} holds {}, which is not ours.", partition.name,
                            drive.identity.serial, found.text()),
                "Nothing was written to it. If it may go: wipefs --all " + partition.device(roots));
        }
    }
}

bool has_rest_of_our_table(const UndoList& undo, const Drive& drive, int file) {
    const auto signatures = signatures_in(file);
    return std::any_of(signatures.begin(), signatures.end(), [&](const Signature& found) {
        return found.type == "gpt" && is_our_table(undo, drive, found.table);
    });
}

}  // namespace host
