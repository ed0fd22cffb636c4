#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/device_number.h"
#include "core/roots.h"

namespace host {

/// An array that the kernel has, running or not.
struct MdArray {
    std::string name;  ///< for example md800; today's
    std::string directory;
    uint64_t bytes = 0;  ///< 0: it does not run
    std::vector<DeviceNumber> members;

    std::string device(const Roots& roots) const { return roots.dev + "/" + name; }
};

/// By its UUID, which it has in every boot and under every name.
std::optional<MdArray> find_array(const Roots& roots, const std::string& uuid);

/// Of the array whose superblock is on a partition; empty when there is none.
std::string superblock_uuid(const std::string& device);

/// What mdadm says with --export: KEY=VALUE, each on a line.
std::map<std::string, std::string> exported(const std::string& text);

}  // namespace host
