/// Device room of the simulated appliance: block devices, by the names that programs are given, on
/// the flash of the drives under them. It joins the state (which drives, partitions, groups and
/// volumes there are) with the flash room (what the drives hold and how fast they are), and keeps
/// processes that work on one drive at the same time from spoiling it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "flash/volume.h"

namespace appliance {

/// A stretch of a drive that a device lies on.
struct Part {
    unsigned dev_id;
    flash::Range range;
};

struct PartGroup {
    flash::Level level;
    std::vector<Part> parts;
};

/// What is behind the name of a block device: a drive, a partition, or a logical volume.
struct Target {
    std::string name;
    uint64_t bytes = 0;  ///< size of the device
    std::vector<PartGroup> groups;
    bool solid_state = true;  ///< every drive under it takes discards
};

/// A volume is taken to lie at the start of its pool: a test's pool holds one.
std::optional<Target> find_target(const std::string& name);

}  // namespace appliance
