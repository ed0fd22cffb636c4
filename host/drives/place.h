#pragma once

#include <string>

namespace host {

enum class Bus { kUnknown, kNvme, kSata, kSas, kVirtio, kVirtioScsi };

/// Where a drive is plugged in: of the way that the kernel found it, what stays the same when it is
/// found again. Empty when that cannot be told, as for a drive on USB or one with several paths.
struct Place {
    std::string path;  ///< for example pci-0000:00:1f.2-ata-3-0:0:0
    Bus bus = Bus::kUnknown;
};

/// @param directory of the drive in sysfs, every link followed
Place place_of(const std::string& directory);

}  // namespace host
