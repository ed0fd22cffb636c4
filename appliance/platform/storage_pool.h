/// Pools inside the storage stand-in: what volumes need to know of them. All functions expect to
/// run inside exclusively().
#pragma once

#include <cstdint>

namespace appliance {

/// A pool gives its space out in pieces of this size, and keeps one for itself.
inline constexpr uint64_t kExtentSectors = 8192;

bool pool_exists(int pool_id);
/// What the pool has for volumes, given out or not.
uint64_t pool_capacity_sectors(int pool_id);
uint64_t pool_free_sectors(int pool_id);

}  // namespace appliance
