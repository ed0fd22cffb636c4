#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/device_number.h"
#include "storage/record.h"

namespace host {

/// A volume that the kernel has.
struct VolumeDevice {
    std::string path;  ///< for example /dev/mapper/ssd_op_pool_1-lv1568
    std::string directory;
    DeviceNumber number;
    uint64_t bytes = 0;
};

/// What device mapper calls it: the UUIDs of group and volume, as far as they are known.
std::string mapped_uuid(const UndoList& undo, const VolumeRecord& volume);

/// None when it is not active, whatever LVM knows of it.
std::optional<VolumeDevice> find_volume(const Roots& roots, const UndoList& undo,
                                        const VolumeRecord& volume);

/// Bytes that the pool has for one volume, beside the others.
uint64_t free_bytes(const Roots& roots, const UndoList& undo, const PoolRecord& pool,
                    std::optional<int> beside = std::nullopt);

/// The most that a volume of no more than `bytes` can have; its parts in all arrays are alike.
uint64_t possible_bytes(const PoolRecord& pool, uint64_t bytes);

/// The entry stays when one of these fails.
void make_volume(const Roots& roots, UndoList& undo, VolumeRecord volume, uint64_t bytes);
void resize_volume(const Roots& roots, const UndoList& undo, const VolumeRecord& volume,
                   uint64_t bytes);
/// Fails while it is open or mounted.
void remove_volume(const Roots& roots, UndoList& undo, int id);

}  // namespace host
