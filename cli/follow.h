#pragma once

#include "launch.h"
#include "snapshot.h"

namespace cli {

/// Shows an evaluation's progress, unless `quiet`, until its process is gone.
/// @return what became of it
Snapshot follow(Launched& launched, bool quiet);

}  // namespace cli
