#include "storage/members.h"

#include <algorithm>
#include <functional>
#include <optional>

#include "core/failure.h"
#include "shared/drive_id.h"
#include "storage/layout.h"
#include "taking/taking.h"

namespace host {

namespace {

std::vector<OurMember> find_members(
    const Roots& roots, const std::vector<std::string>& serials,
    const std::function<std::optional<OurMember>(const Drive&)>& member_on) {
    const std::vector<Drive> drives = list_drives(roots);
    std::vector<OurMember> found;
    for (const std::string& serial : serials) {
        for (const Drive& drive : drives) {
            if (drive.identity.serial != serial) continue;
            if (const auto member = member_on(drive)) found.push_back(*member);
        }
    }
    return found;
}

std::optional<OurMember> member_on(const Roots& roots, const UndoList& undo, const Drive& drive) {
    if (!is_taken(undo, drive)) return std::nullopt;
    const auto partition = our_data_partition(roots, undo, drive);
    if (!partition) return std::nullopt;
    return OurMember{drive.identity.serial, *partition};
}

std::optional<OurMember> broken_member_on(const UndoList& undo, const Drive& drive) {
    if (!is_taken(undo, drive)) return std::nullopt;
    const auto partition = partition_of(drive, ssd_op::shared::kDataPartition);
    if (!partition) return std::nullopt;
    return OurMember{drive.identity.serial, *partition, false};
}

}  // namespace

std::vector<OurMember> members_there(const Roots& roots, const UndoList& undo,
                                     const std::vector<std::string>& serials) {
    return find_members(roots, serials,
                        [&](const Drive& drive) { return member_on(roots, undo, drive); });
}

std::vector<OurMember> members_to_free(const Roots& roots, const UndoList& undo,
                                       const std::vector<std::string>& serials) {
    return find_members(roots, serials, [&](const Drive& drive) {
        try {
            return member_on(roots, undo, drive);
        } catch (const Failure&) {
            if (!is_broken(roots, drive)) throw;
            return broken_member_on(undo, drive);
        }
    });
}

bool has_only(const MdArray& array, const std::vector<OurMember>& members) {
    return std::all_of(array.members.begin(), array.members.end(), [&](DeviceNumber number) {
        return std::any_of(members.begin(), members.end(), [&](const OurMember& member) {
            return member.partition.number == number;
        });
    });
}

}  // namespace host
