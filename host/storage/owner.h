#pragma once

#include "core/roots.h"
#include "core/store.h"

namespace host {

/// This process, as others can tell it from one that has its number later.
Json this_process(const Roots& roots);

/// Whether that process still runs. Something damaged is nobody.
bool lives(const Roots& roots, const Json& process);

}  // namespace host
