#pragma once

#include "core/roots.h"

namespace host {

enum class Among { kAll, kOthers };  ///< the processes; kOthers: than this one

/// Whether a process that drives an evaluation lives: what is to be undone may be its own then.
/// @throws Failure when that cannot be told
bool evaluation_runs(const Roots& roots, Among among = Among::kAll);

}  // namespace host
