#pragma once

#include <cstdint>

#include "measuring/our_device.h"

namespace host {

/// Gives a range of a device back to the drives under it, `step` bytes at a time: what others wait
/// for meanwhile, and what a killed program has done or not. Of the range it takes the units that
/// are wholly in it; where there are none, it is sent as it is, and the device may refuse it.
/// Before each step the device is checked again.
void discard(const OurDevice& device, const Range& range, uint64_t step);

}  // namespace host
