#pragma once

#include <optional>
#include <string>

#include "core/device_number.h"
#include "core/roots.h"

namespace host {

/// The block device that a loop device shows, or the one that the file lies on which it shows, as
/// the kernel tells it: names may be those of another view of the files, or be gone. None when it
/// shows nothing. Fails when that cannot be told.
std::optional<DeviceNumber> behind_loop(const Roots& roots, const std::string& name);

}  // namespace host
