#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/roots.h"
#include "storage/record.h"

// What the storage library's files share: between the ids of an evaluation and what they stand for.

namespace host {

/// The serial number of the given drive in a slot; fails when there is none.
std::string serial_in(const Roots& roots, uint32_t dev_id);
/// The ids of those of the drives that are there, in the order of the serial numbers.
std::vector<uint32_t> dev_ids_of(const Roots& roots, const std::vector<std::string>& serials);

/// A group is configured from the moment its id is taken, and no more after it or its configuration
/// was removed, though the id stays taken.
bool raid_is_configured(const Roots& roots, int raid_id);
void set_raid_removed(const Roots& roots, int raid_id, bool removed);

/// Removes a group that is in no pool, whether it was made or not, and leaves its drives as empty
/// as they were before they were taken. A drive that cannot be given back stays for cleanup: trace
/// and events tell why.
void remove_group(const Roots& roots, UndoList& undo, int raid_id);

}  // namespace host
