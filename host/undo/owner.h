#pragma once

#include <string>

#include "core/roots.h"
#include "core/store.h"

namespace host {

/// Another text after each boot.
std::string this_boot(const Roots& roots);

/// This process, as others can tell it from one that has its number later.
Json this_process(const Roots& roots);

/// Whether that process still runs. Something damaged is nobody.
bool lives(const Roots& roots, const Json& process);

}  // namespace host
