#pragma once

#include <optional>
#include <string>
#include <vector>

#include "refusal/held_drive.h"
#include "refusal/reason.h"

namespace host {

/// What may go of what is on a drive.
struct Wish {
    bool wipe = false;  ///< all of it
    /// Of a drive that an evaluation took, what it left there: data without a signature, and the
    /// partition table with this GUID, which is empty when none was made.
    std::optional<std::string> table_of_ours{};
};

struct Examination {
    std::vector<Reason> reasons;       ///< all that were found
    std::vector<std::string> content;  ///< what is on it, whether it may go or not
    std::optional<HeldDrive> held;     ///< the drive, when there is none

    bool passed() const { return held.has_value(); }
};

/// Whether a drive may be used. It is held while it is looked at, so that nobody can take it
/// between the look and the use.
Examination examine(const Roots& roots, const Drive& drive, const Wish& wish);

/// The reasons that the kernel's tables tell, without opening anything.
std::vector<Reason> reasons_in_tables(const Roots& roots, const Drive& drive);

}  // namespace host
