#pragma once

#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "core/device_number.h"
#include "core/roots.h"

namespace host {

struct Mount {
    /// Of the devices known to be under it. Btrfs has a number of its own and tells one device; a
    /// file system without a disk has none.
    std::vector<DeviceNumber> devices;
    std::string point;
    std::string type;
    bool is_indirect = false;  ///< an automount of whatever is named below it

    bool operator==(const Mount&) const = default;
    bool operator<(const Mount& other) const {
        return std::tie(devices, point, type, is_indirect) <
               std::tie(other.devices, other.point, other.type, other.is_indirect);
    }
};

/// All mounts that this process sees, and those that the first process sees: in a sandbox, the
/// host's are not among the former. Fails when they cannot be told.
std::vector<Mount> mounts(const Roots& roots);

struct SwapArea {
    std::optional<DeviceNumber> device;  ///< none for a file, which lies on something mounted
    std::string path;
};

/// Fails when they cannot be told, or a partition among them has no device number.
std::vector<SwapArea> swap_areas(const Roots& roots);

}  // namespace host
