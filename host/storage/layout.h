#pragma once

#include <optional>
#include <string>

#include "drives/partition.h"
#include "refusal/held_drive.h"
#include "undo/undo_list.h"

namespace host {

/// The GUID of the drive's partition table; empty when there is none. Fails in doubt.
std::string table_guid(const Roots& roots, const Drive& drive);

/// Whether it is there and its ends, where it says whose it is, cannot be read.
bool is_broken(const Roots& roots, const Drive& drive);

/// The script that makes sfdisk lay out a drive: two small partitions, and the data partition over
/// all the rest. Fails for a drive that is too small.
std::string layout_script(uint64_t drive_bytes, const std::string& guid);

/// Whether the table on the drive is the one that the undo list says we made.
bool has_our_layout(const Roots& roots, const UndoList& undo, const Drive& drive);

/// The data partition of a drive that has our layout; none of another one.
std::optional<Partition> our_data_partition(const Roots& roots, const UndoList& undo,
                                            const Drive& drive);

/// Lays a taken drive out, unless it is. The entry stays when that fails.
void lay_out(const Roots& roots, UndoList& undo, const HeldDrive& held);

}  // namespace host
