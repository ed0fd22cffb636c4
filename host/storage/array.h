#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/roots.h"
#include "storage/mdadm.h"
#include "storage/record.h"
#include "undo/undo_list.h"

namespace host {

/// What a volume may use of an array: every member is left 32 MiB free before its end, so that what
/// a smaller volume uses ends before what is given back to the drives.
uint64_t usable_bytes(const Roots& roots, const UndoList& undo, const ArrayRecord& record);

/// None when it does not run.
std::optional<MdArray> running_array(const Roots& roots, const ArrayRecord& record);

/// Makes an array of drives that are laid out. The entry stays when that fails.
void make_array(const Roots& roots, UndoList& undo, const ArrayRecord& record);

/// Stops it and takes it off its members. Fails, with the entry kept, while it is in use, or has
/// members that are not ours. A member that is gone or cannot be read keeps the entry of its
/// partitions.
void remove_array(const Roots& roots, UndoList& undo, int id);

}  // namespace host
