#pragma once

#include <set>
#include <string>
#include <vector>

#include "core/device_number.h"
#include "drives/drive.h"

namespace host {

/// A drive or one of its partitions.
struct Member {
    std::string name;
    std::string directory;
    DeviceNumber number;
};

/// The drive first, then every partition of it that the kernel knows. Fails in doubt, like all
/// here.
std::vector<Member> family_of(const Drive& drive);

/// What the kernel says is built on a member: "LVM or device mapper device dm-0 (vg-data)".
std::vector<std::string> holders_of(const Roots& roots, const Member& member);

/// The whole drives below a device, through partitions, md, device mapper and loop devices.
std::set<DeviceNumber> drives_below(const Roots& roots, DeviceNumber device);

/// The drives that the running system lies on.
std::set<DeviceNumber> system_drives(const Roots& roots);

}  // namespace host
