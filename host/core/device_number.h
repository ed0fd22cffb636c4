#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <sys/types.h>

namespace host {

/// The kernel's number of a block device. Names move from drive to drive and can be made by
/// anybody; while a device is there, its number is its alone.
struct DeviceNumber {
    unsigned major = 0;
    unsigned minor = 0;

    bool operator==(const DeviceNumber&) const = default;
    bool operator<(const DeviceNumber& other) const {
        return std::pair(major, minor) < std::pair(other.major, other.minor);
    }
    std::string text() const;  ///< as the kernel writes it, for example 259:1
};

/// Of a text that is nothing but a number.
std::optional<DeviceNumber> parse_device_number(std::string_view text);
DeviceNumber device_number_of(dev_t device);

/// What the kernel tells in the file `dev` of a directory of sysfs.
std::optional<DeviceNumber> device_number_in(const std::string& directory);

/// A block or character device; both count on their own.
struct DeviceNode {
    bool is_block = false;
    DeviceNumber number;

    bool operator==(const DeviceNode&) const = default;
};

/// What lies at a path, as far as it is known here already: a server that is gone is not asked.
/// None when that is no device or cannot be looked at.
std::optional<DeviceNode> device_at(const std::string& path);
std::optional<DeviceNumber> block_device_at(const std::string& path);
/// Whether what is open is the block device with this number.
bool is_device(int file, DeviceNumber number);

}  // namespace host
