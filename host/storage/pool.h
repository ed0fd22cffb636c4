#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "storage/lvm.h"
#include "storage/record.h"

namespace host {

constexpr uint64_t kExtentBytes = 4 << 20;

/// The arrays of a pool that the undo list knows.
std::vector<ArrayRecord> arrays_under(const UndoList& undo, const PoolRecord& pool);

/// Whether an array under it is there. One whose arrays do not run is no pool for an evaluation.
bool pool_is_there(const Roots& roots, const UndoList& undo, const PoolRecord& pool);

/// Extents that its volumes may have, together: a multiple of the number of arrays, over which they
/// are striped.
uint64_t pool_extents(const Roots& roots, const UndoList& undo, const PoolRecord& pool);

/// Makes a volume group over arrays that run. The entry stays when that fails.
void make_pool(const Roots& roots, UndoList& undo, PoolRecord pool);

/// Fails, with the entry kept, while it has volumes. The arrays stay. A volume group that is not
/// whole, or cannot be written, is left to the emptying of its drives.
void remove_pool(const Roots& roots, UndoList& undo, int id);

}  // namespace host
