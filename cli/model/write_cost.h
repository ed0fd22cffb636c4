#pragma once

#include "model/layout.h"

namespace cli {

/// What lies on one drive of a group during an evaluation, in bytes.
struct DriveUse {
    double flash;   // all that it has, what its host does not see included
    double mapped;  // the drive's part of the whole volume
    double tested;  // of the area under test; 0: the whole volume

    double mapped_at(int op) const { return mapped * (100 - op) / 100; }
    /// The drive's part of the area under test at a ratio.
    double tested_at(int op) const;
    /// Flash for each byte that is written again and again; what lies outside the area under test
    /// takes its place, and no part in it.
    double spare_factor_at(int op) const;
};

/// Flash writes for each random write, once the drive is in its steady state.
double write_amplification_at(const DriveUse& use, int op);
/// The flash that a drive has whose write amplification, above 1, was measured at a ratio.
double flash_of(const DriveUse& use, int op, double write_amplification);

/// Work of all members together for one small random write to their volume, in programs of 4 KiB.
double write_cost(const Layout& layout, double write_amplification);

}  // namespace cli
