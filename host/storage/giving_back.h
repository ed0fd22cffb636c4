#pragma once

#include <string>

#include "core/roots.h"
#include "undo/undo_list.h"

namespace host {

/// Takes our partition table off a drive, and what arrays and pools left at the ends of its data
/// partition. Fails, with the entry kept, when the drive is gone, in use, or has another table.
void remove_layout(const Roots& roots, UndoList& undo, const std::string& serial);

/// Leaves a taken drive empty: all of it discarded, nothing at its ends, nothing to recognise.
/// Fails, with the entry kept, when the drive is gone, in use, or holds what nobody of us wrote.
void give_drive_back(const Roots& roots, UndoList& undo, const std::string& serial);

/// Takes what the list says of a drive that will never come back out of it. Fails while it is
/// there and can be read, or an array is not undone that it is in.
void forget_drive(const Roots& roots, UndoList& undo, const std::string& serial);

}  // namespace host
