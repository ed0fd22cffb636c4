#pragma once

#include "platform/hal.h"

namespace ssd_op::base {

/// What a user calls a drive's interface, for example "SATA" or "M.2 PCIe". A form factor that
/// settles the question comes before the interface: the connector is what a user sees.
const char* interface_name(const PD_INFO& drive);

}  // namespace ssd_op::base
