/// RAID groups inside the storage stand-in: what pools need to know of them. All functions expect
/// to run inside exclusively().
#pragma once

#include <cstdint>

#include "core/raid_metadata.h"
#include "platform/storage.h"

namespace appliance {

/// Whether the platform could make this group now: a level that fits the number of members, drives
/// that are there and in no group, an id that is free.
bool can_make_raid(const RAID_CONF& group);
void make_raid(const RAID_CONF& group);
void remove_raid(int raid_id);

bool raid_exists(int raid_id);
bool raid_is_configured(int raid_id);  ///< its id is taken, and nothing was removed since
uint64_t raid_capacity_kib(int raid_id);
int pool_of_raid(int raid_id);  ///< -1: none

}  // namespace appliance
