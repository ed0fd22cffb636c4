#pragma once

#include <string>
#include <vector>

#include "core/device_number.h"
#include "core/roots.h"
#include "drives/drive.h"
#include "undo/undo_list.h"

namespace host {

/// Why a device that is no whole drive is ours.
struct Ownership {
    std::vector<Drive> drives;  ///< under it, taken all of them
    bool is_member = false;     ///< of an array of ours
    /// What the kernel says of the array or the volume, another text for each that it makes.
    std::string mark_file, mark;
    std::vector<std::string> below{};  ///< directories in sysfs of what a volume lies on

    /// Fails when one of these is gone or another one by now.
    void check(const Roots& roots) const;
    /// Fails when an array below goes on without one of its drives.
    void check_redundancy() const;
};

/// Of a data partition or a volume. Fails, with the reason, when it is not ours, or in other use.
/// @param path only for what it says
Ownership ownership_of(const Roots& roots, const UndoList& undo, DeviceNumber number,
                       const std::string& path);

}  // namespace host
