/// Enrolment room: which drives were given to this program, by whom it can ask, and nothing else
/// makes a drive its own.
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
    bool wipe = false;  ///< what was on it may go
    std::string since;  ///< local time

    /// A drive with the serial number of this one, and another size or name, is not this one.
    bool is(const Drive& drive) const;
};

/// Fails when the store cannot be read: no drive is enrolled then.
std::vector<Enrolled> enrolled_drives(const Roots& roots);

/// Adds a drive, or replaces what is stored of its serial number.
void store_enrolled(const Roots& roots, const Enrolled& drive);

/// Whether there was one to take out.
bool remove_enrolled(const Roots& roots, const std::string& serial);

}  // namespace host
