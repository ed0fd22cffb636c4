#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/text.h"
#include "platform/hal.h"
#include "shared/drive_id.h"

namespace ssd_op::evaluation {

/// A device path as the platform resolved it, with the result of the look-up (0: resolved). An
/// empty path is none: commands would work on anything, and searches find everything.
struct DriveName {
    int result;
    std::string text;
    DriveName(int look_up, std::string_view name)
        : result(look_up == 0 && name.empty() ? -1 : look_up), text(name) {}
    explicit operator bool() const { return result == 0; }
};

constexpr int kDriveNameSize = 32;

/// For example /dev/sda3.
inline DriveName partition_name(uint32_t dev_id, int part_no = shared::kDataPartition) {
    const auto [enclosure, port] = shared::slot_of(dev_id);
    char name[kDriveNameSize] = "";
    const int result = Part_Get_Name(enclosure, port, part_no, name, kDriveNameSize);
    return {result, base::field_text(name)};
}

/// For example /dev/sda.
inline DriveName device_name(uint32_t dev_id) {
    const auto [enclosure, port] = shared::slot_of(dev_id);
    char name[kDriveNameSize] = "";
    const int result = PD_Get_Sys_Name(enclosure, port, name, kDriveNameSize);
    return {result, base::field_text(name)};
}

}  // namespace ssd_op::evaluation
