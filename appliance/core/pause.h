#pragma once

#include <cerrno>
#include <cmath>

#include <time.h>

namespace appliance {

/// Sleeps on the appliance's clock.
inline void pause_for(double seconds) {
    if (seconds <= 0) return;
    timespec rest{};
    rest.tv_sec = static_cast<time_t>(seconds);
    rest.tv_nsec = static_cast<long>((seconds - std::floor(seconds)) * 1e9);
    while (::nanosleep(&rest, &rest) != 0 && errno == EINTR) {
    }
}

}  // namespace appliance
