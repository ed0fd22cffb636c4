#pragma once

#include <vector>

#include "platform/storage.h"

namespace ssd_op::evaluation {

/// Ids below belong to the groups that users make.
constexpr int kFirstRaidId = 800;

/// Gives every group that has none yet a RAID id of its own and marks it as taken in the platform's
/// bitmap. False when there is none left; ids taken until then stay taken.
bool reserve_raid_ids(const std::vector<RAID_CONF*>& groups);

/// Removes what the platform has of the groups: the way back when no storage comes of them.
void remove_raid_configurations(const std::vector<RAID_CONF*>& groups);

}  // namespace ssd_op::evaluation
