#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/device_number.h"
#include "core/roots.h"
#include "drives/drive.h"

namespace host {

/// A partition that the kernel knows.
struct Partition {
    std::string name;       ///< for example nvme0n1p3; today's
    std::string directory;  ///< where sysfs keeps it
    DeviceNumber number;
    uint64_t start = 0;  ///< bytes from the start of the drive
    uint64_t bytes = 0;

    std::string device(const Roots& roots) const { return roots.dev + "/" + name; }
};

/// None when there is no partition of that number.
std::optional<Partition> partition_of(const Drive& drive, int number);

}  // namespace host
