#include "evaluation/drives/groups.h"

#include <algorithm>

#include "platform/hal.h"
#include "platform/naslog.h"
#include "shared/drive_id.h"

namespace ssd_op::evaluation {

namespace {

std::span<const uint32_t> valid_ids(const uint32_t (&ids)[RAID_MAX_DRIVES], int count) {
    return {ids, static_cast<size_t>(std::clamp(count, 0, RAID_MAX_DRIVES))};
}

bool holds(std::span<const uint32_t> ids, unsigned dev_id) {
    return std::find(ids.begin(), ids.end(), dev_id) != ids.end();
}

/// Appends drives until the table is full; false when some did not fit.
bool append(std::vector<RequestedDrive>& drives, std::span<const uint32_t> ids) {
    for (const uint32_t id : ids) {
        if (drives.size() >= RAID_MAX_DRIVES) return false;
        const auto [enclosure, port] = shared::slot_of(id);
        drives.push_back({id, Part_Is_Exist_V2(enclosure, port, shared::kDataPartition) != 0});
    }
    return true;
}

}  // namespace

std::vector<RAID_CONF*> groups_of(RAID_CONF* raid_list) {
    std::vector<RAID_CONF*> groups;
    for (RAID_CONF* group = raid_list; group != nullptr && groups.size() < kMaxGroups;
         group = group->next) {
        groups.push_back(group);
    }
    return groups;
}

std::span<const uint32_t> members_of(const RAID_CONF& group) {
    return valid_ids(group.drive_ids, group.drive_num);
}

std::span<const uint32_t> spares_of(const RAID_CONF& group) {
    return valid_ids(group.spare_drive_ids, group.spare_drive_num);
}

std::vector<RequestedDrive> drives_of(RAID_CONF* raid_list, const char* function) {
    std::vector<RequestedDrive> drives;
    for (const RAID_CONF* group : groups_of(raid_list)) {
        if (append(drives, members_of(*group)) && append(drives, spares_of(*group))) continue;
        SM_TRACE(SM_TRACE_ERROR, "%s: More than %d drives, the rest is ignored.\n", function,
                 RAID_MAX_DRIVES);
        break;
    }
    return drives;
}

int ssd_op_test_get_raid_id(RAID_CONF* raid_list, unsigned dev_id) {
    for (const RAID_CONF* group : groups_of(raid_list)) {
        if (holds(members_of(*group), dev_id) || holds(spares_of(*group), dev_id))
            return group->raid_id;
    }
    return -1;
}

}  // namespace ssd_op::evaluation
