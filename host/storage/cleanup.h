#pragma once

#include <functional>
#include <string>

#include "core/roots.h"

namespace host {

/// Undoes all that the list says, from the last step to the first, and tells of each. What cannot
/// be undone stays in the list, and is told with its reason and the next step. Fails before it does
/// anything while an evaluation runs.
/// @param forget serial number of a drive that is gone or broken for good; empty: none
/// @return whether nothing is left
bool clean_up(const Roots& roots, const std::string& forget,
              const std::function<void(const std::string&)>& tell);

}  // namespace host
