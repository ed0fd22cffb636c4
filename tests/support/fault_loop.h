/// Calls that fail one after the other, until a run meets none of the faults any more.
#pragma once

#include <functional>
#include <string>

#include "support/appliance.h"

namespace support {

/// The three parts of a try.
struct FaultLoop {
    std::function<void()> before;  ///< makes the scene, a renewed appliance, each time
    std::function<void()> body;    ///< what must cope
    std::function<void(const std::string&)> after;  ///< looks at it; gets what had failed
};

/// Learns from a run without faults which platform calls and programs the body uses, then lets each
/// of them fail (-1) at its first use, its second, and so on: `most` uses of a name at the most.
/// @return how many faults were met
int fail_at_every_call(Appliance& appliance, int most, const FaultLoop& loop);

}  // namespace support
