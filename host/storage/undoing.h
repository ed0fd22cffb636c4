#pragma once

#include <functional>
#include <string>
#include <utility>

#include "core/roots.h"
#include "undo/undo_list.h"

namespace host {

/// Undoes one step, and takes its entry out of the list. Fails, with the entry kept, when what is
/// there is not ours, in use or needed by a later step.
void undo_step(const Roots& roots, UndoList& undo, const UndoEntry& entry);

/// In words, for people: "volume 1568".
std::string name_of(const UndoEntry& entry);

/// Runs `work`. When it fails, the steps that it has added to the list are undone, as far as they
/// can be.
void all_or_nothing(const Roots& roots, UndoList& undo, const std::function<void()>& work);

}  // namespace host
