/// Enrolment room: which drives were given to this program. A drive is given by a person who types
/// its serial number, and in no other way.
#pragma once

#include <string>
#include <vector>

#include "core/roots.h"
#include "drives/drive.h"

namespace host {

/// A drive that was given, as it was then.
struct Enrolled {
    std::string serial;
    std::string wwn;
    std::string model;
    uint64_t bytes = 0;
    bool wipe = false;  ///< what was on it then may go, and is not gone yet
    std::string since;  ///< local time

    /// A drive with the serial number of this one, and another size or name, is not this one.
    bool is(const Drive& drive) const;
};

/// Fails when the store cannot be read: no drive is enrolled then.
std::vector<Enrolled> enrolled_drives(const Roots& roots);

/// Adds a drive, or replaces what is stored of its serial number.
void store_enrolled(const Roots& roots, const Enrolled& drive);

/// What was on the drive is gone: what others put there from now on may not go. Nothing when it is
/// not enrolled.
void end_wipe(const Roots& roots, const std::string& serial);

/// Whether there was one to take out.
bool remove_enrolled(const Roots& roots, const std::string& serial);

}  // namespace host
