#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/roots.h"
#include "undo/undo_list.h"

namespace host {

// What the undo list says of a thing, with a type. The process that made it is its owner.

struct ArrayRecord {
    int id = 0;
    int level = 0;
    std::string uuid;
    std::vector<std::string> members, spares;  ///< serial numbers of drives
    Json owner;
};

struct PoolRecord {
    int id = 0;
    std::vector<int> arrays;
    std::string tag;   ///< of its volume group
    std::string uuid;  ///< empty until it is known
    Json owner;

    std::string group_name() const;
};

struct VolumeRecord {
    int id = 0;
    int pool = 0;
    std::string tag;   ///< of its logical volume
    std::string uuid;  ///< empty until it is known
    Json owner;

    std::string name() const;  ///< within its volume group
    std::string device() const;
};

UndoEntry entry_of(const ArrayRecord& record);
UndoEntry entry_of(const PoolRecord& record);
UndoEntry entry_of(const VolumeRecord& record);

/// Fail when the entry is damaged.
ArrayRecord array_of(const UndoEntry& entry);
PoolRecord pool_of(const UndoEntry& entry);
VolumeRecord volume_of(const UndoEntry& entry);

/// The serial numbers of all its drives, spares behind the others.
std::vector<std::string> serials_of(const ArrayRecord& record);

std::vector<ArrayRecord> arrays_in(const UndoList& undo);
std::vector<PoolRecord> pools_in(const UndoList& undo);
std::vector<VolumeRecord> volumes_in(const UndoList& undo);
std::optional<ArrayRecord> find_array_record(const UndoList& undo, int id);
/// The array that has this drive, also as a spare.
std::optional<ArrayRecord> array_with(const UndoList& undo, const std::string& serial);
std::optional<PoolRecord> find_pool_record(const UndoList& undo, int id);
std::optional<PoolRecord> pool_over(const UndoList& undo, int raid_id);
std::optional<VolumeRecord> find_volume_record(const UndoList& undo, int id);

}  // namespace host
