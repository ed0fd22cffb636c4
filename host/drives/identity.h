#pragma once

#include <string>

namespace host {

/// What a drive says of itself; an empty text for what it does not say. All of it comes from the
/// kernel, which asked the drive: no tool is needed to see that a drive is another one.
struct Identity {
    std::string vendor;
    std::string model;
    std::string serial;
    std::string wwn;
    std::string firmware;

    bool operator==(const Identity&) const = default;
};

/// @param directory of the drive in sysfs
Identity read_identity(const std::string& directory);

}  // namespace host
