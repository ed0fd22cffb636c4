#pragma once

#include "platform/hal.h"

namespace ssd_op::db {

/// What a drive's interface is called in records and in the upload: by its form factor when that
/// says enough, otherwise by the interface itself.
const char* interface_name(const PD_INFO& drive);

}  // namespace ssd_op::db
