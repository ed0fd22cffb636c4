/// Drives room: the drives of a request, by group, and what is done to them before a test and
/// between its ratios: discards and measurements.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "platform/storage.h"

namespace ssd_op::evaluation {

/// More groups than a list of drives could hold: a list as long as this runs in a circle.
constexpr int kMaxGroups = RAID_MAX_DRIVES;

/// The groups of a request in list order; at most kMaxGroups, so that a list that runs in a circle
/// ends.
std::vector<RAID_CONF*> groups_of(RAID_CONF* raid_list);

/// The ids in a group's two lists, never beyond them whatever the group's counts say.
std::span<const uint32_t> members_of(const RAID_CONF& group);
std::span<const uint32_t> spares_of(const RAID_CONF& group);

/// Calls `visit(member, configuration)` for each RAID group under a pool, until one call returns
/// false; then false.
template <typename Visit>
bool visit_groups_under(int pool_id, Visit visit) {
    const auto group = std::make_unique<RAID_CONF>();
    const int count = std::min(Pool_Get_Member_Count(pool_id), kMaxGroups);
    for (int index = 0; index < count; ++index) {
        POOL_MEMBER member{};
        if (Pool_Get_Dev_Member(pool_id, index, &member) != 0 || member.raid_id < 0) continue;
        if (RAID_Get_Conf(member.raid_id, group.get()) != 0) continue;
        if (!visit(std::as_const(member), std::as_const(*group))) return false;
    }
    return true;
}

/// A drive of a request, and whether it has a data partition.
struct RequestedDrive {
    uint32_t dev_id;
    bool has_partition;
};

/// Every drive of a request: group by group, members before spares. At most RAID_MAX_DRIVES; more
/// are left out, with one message under `function`'s name.
std::vector<RequestedDrive> drives_of(RAID_CONF* raid_list, const char* function);

/// The id of the first group that holds the drive as a member or spare; -1 if none does.
int ssd_op_test_get_raid_id(RAID_CONF* raid_list, unsigned dev_id);

}  // namespace ssd_op::evaluation
