#include "device/load.h"

#include <algorithm>

#include <time.h>

#include "core/pause.h"

namespace appliance {

namespace {

/// Of a time or an amount; a killed process loses one at the most.
constexpr int kSlices = 10;
constexpr double kShortestSlice = 1.0;
constexpr double kLongestSlice = 10.0;
constexpr uint64_t kSmallestSlice = uint64_t{64} << 20;

double monotonic() {
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// A workload stays on the device, though the volume under it may be larger.
flash::Workload within(const Device& device, flash::Workload workload) {
    const uint64_t left =
        device.bytes() > workload.range.offset ? device.bytes() - workload.range.offset : 0;
    workload.range.length = std::min(workload.range.length, left);
    return workload;
}

}  // namespace

PacedLoad::PacedLoad(Device& device, const flash::Workload& workload)
    : device_(device), run_(device.volume(), within(device, workload)), due_(monotonic()) {}

template <typename Slice>
void PacedLoad::pace(flash::Progress& sum, Slice&& slice) {
    flash::Progress progress;
    due_ += device_.update([&] {
        progress = slice();
        return progress.seconds;
    });
    sum += progress;
    pause_for(due_ - monotonic());
}

flash::Progress PacedLoad::for_seconds(double seconds, std::optional<uint64_t> bytes) {
    flash::Progress sum;
    const double length = std::clamp(seconds / kSlices, kShortestSlice, kLongestSlice);
    while (sum.seconds < seconds && (!bytes || sum.bytes < *bytes))
        pace(sum, [&] { return run_.for_seconds(std::min(length, seconds - sum.seconds)); });
    return sum;
}

flash::Progress PacedLoad::for_bytes(uint64_t bytes) {
    flash::Progress sum;
    const uint64_t length = std::max(bytes / kSlices, kSmallestSlice);
    while (sum.bytes < bytes)
        pace(sum, [&] { return run_.for_bytes(std::min(length, bytes - sum.bytes)); });
    return sum;
}

}  // namespace appliance
