#pragma once

#include "core/roots.h"

namespace host {

/// Whether a process that drives an evaluation lives: what is to be undone may be its own then.
/// @throws Failure when that cannot be told
bool evaluation_runs(const Roots& roots);

}  // namespace host
