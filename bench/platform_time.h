/// Time that this process has spent inside the platform's calls.
#pragma once

namespace bench {

struct PlatformTime {
    double commands = 0;  ///< programs that were run, and the shell around them
    double settings = 0;  ///< ini files and their locks
    double volumes = 0;   ///< where the database lies

    double all() const { return commands + settings + volumes; }
};

PlatformTime seconds_in_platform();

}  // namespace bench
