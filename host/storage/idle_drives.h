#pragma once

#include <functional>
#include <string>
#include <vector>

#include "core/failure.h"
#include "core/roots.h"
#include "undo/undo_list.h"

namespace host {

/// Drives that were taken and are in no array: of an evaluation that makes its array later, or has
/// ended before it did.
std::vector<std::string> idle_drives(const UndoList& undo);

using TellKept = std::function<void(const std::string& serial, const Failure& why)>;

/// Gives back the drives of an array that was removed, and all that are idle, unless another
/// process drives an evaluation: those may be its own, and go when that ends. Tells of each that
/// cannot be given back, and stays in the list.
void give_drives_back(const Roots& roots, UndoList& undo,
                      const std::vector<std::string>& of_the_array, const TellKept& tell);

}  // namespace host
