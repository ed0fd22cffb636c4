#pragma once

#include <string>
#include <vector>

#include "core/roots.h"

namespace host {

/// What the host's administrator has set.
struct Settings {
    std::vector<std::string> units;   ///< of systemd, stopped while storage is made
    std::vector<std::string> notify;  ///< program and arguments that get notices; empty: nobody
};

/// @throws Failure when the file is there and is not as docs/host.md says, or others may write to
/// it
Settings load_settings(const Roots& roots);

}  // namespace host
