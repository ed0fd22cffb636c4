#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/roots.h"
#include "drives/drive.h"
#include "measuring/discard_range.h"
#include "measuring/ownership.h"
#include "refusal/held_drive.h"
#include "shared/descriptor.h"

namespace host {

/// A block device that may be written to: a drive that was given and is taken, the data partition
/// of one, or a volume that was made here. Which it is, its device number tells and no name.
///
/// It is held exclusively for as long as the owner lives, but for a member of an array of ours,
/// which is the array's.
class OurDevice {
  public:
    /// Fails, with the reason, for any other device, file or name.
    OurDevice(const Roots& roots, const std::string& path);

    uint64_t bytes() const { return bytes_; }
    /// None when it takes no discards.
    std::optional<DiscardUnit> discard_unit() const;

    /// Fails when it, or a drive under it, is gone or another one by now.
    void check() const;
    /// The same for what is measured: nor may an array under it have lost a drive, with which it
    /// goes on.
    void check_complete() const;
    /// For one destructive step: it is checked first, and what is opened is what is held.
    ssd_op::shared::Descriptor open_for_writing() const;

  private:
    void hold(const std::string& path);

    Roots roots_;
    DeviceNumber number_;
    std::optional<HeldDrive> drive_;   // a whole one
    std::optional<Ownership> part_;    // of another device
    ssd_op::shared::Descriptor file_;  // of that
    uint64_t bytes_ = 0;
};

}  // namespace host
