#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/device_number.h"
#include "core/roots.h"
#include "core/tool.h"

namespace host {

/// An array that the kernel has, running or not.
struct MdArray {
    std::string name;  ///< for example md800; today's
    std::string directory;
    uint64_t bytes = 0;  ///< 0: it does not run
    std::vector<DeviceNumber> members;

    std::string device(const Roots& roots) const { return roots.dev + "/" + name; }
};

std::vector<MdArray> arrays_there(const Roots& roots);

/// By its UUID, which it has in every boot and under every name.
std::optional<MdArray> find_array(const Roots& roots, const std::string& uuid);

/// Of the array whose superblock is on a partition; empty when there is none.
std::string superblock_uuid(const std::string& device);

/// The UUID in what mdadm printed with --export, empty when it found none. Fails when it did not
/// come to tell: an array that nobody saw still has its members.
std::string uuid_told(const ToolOutput& output);

/// What mdadm says with --export: KEY=VALUE, each on a line.
std::map<std::string, std::string> exported(const std::string& text);

}  // namespace host
