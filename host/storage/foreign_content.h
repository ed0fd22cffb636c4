#pragma once

#include "core/roots.h"
#include "drives/drive.h"
#include "undo/undo_list.h"

namespace host {

// On a taken drive that is open. Content that nobody of us wrote, and that nobody said may go, was
// put there after us.

/// Fails when a signature is on it.
void refuse_content_of_others(const Roots& roots, const Drive& drive, int file);

/// Fails when a partition of it holds another signature than those of arrays and pools. In a table
/// of ours somebody else may have put a partition to use.
void refuse_partitions_of_others(const Roots& roots, const Drive& drive, int file);

/// Whether a part of our table is on it: what a power cut leaves that came while the table was
/// written or taken off. sfdisk sees none then.
bool has_rest_of_our_table(const UndoList& undo, const Drive& drive, int file);

}  // namespace host
