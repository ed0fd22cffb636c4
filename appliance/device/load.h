#pragma once

#include <cstdint>
#include <optional>

#include "device/device.h"
#include "flash/workload.h"

namespace appliance {

/// A workload on a device, on the appliance's clock: the drives are moved on slice by slice, saved
/// after each, and the time that a slice takes on them passes before the next.
class PacedLoad {
  public:
    /// The device is the caller's and outlives the load.
    PacedLoad(Device& device, const flash::Workload& workload);

    /// Until the time is over, or, if it is given, the amount is done.
    flash::Progress for_seconds(double seconds, std::optional<uint64_t> bytes = std::nullopt);
    /// However long it takes.
    flash::Progress for_bytes(uint64_t bytes);

  private:
    template <typename Slice>
    void pace(flash::Progress& sum, Slice&& slice);

    Device& device_;
    flash::Run run_;
    double due_;  ///< when the time of all slices so far is over, on the monotonic clock
};

/// Writes the parts of a range that hold nothing, and no others.
void write_what_is_empty(Device& device, flash::Range range);

}  // namespace appliance
