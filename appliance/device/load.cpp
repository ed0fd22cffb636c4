#include "device/load.h"

#include <algorithm>
#include <vector>

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

constexpr uint64_t kEmptyStep = uint64_t{1} << 20;

/// The stretches of a range that hold nothing, to the MiB.
std::vector<flash::Range> empty_parts(const Device& device, flash::Range range) {
    std::vector<flash::Range> parts;
    const uint64_t end = std::min(range.end(), device.bytes());
    for (uint64_t at = range.offset; at < end; at += kEmptyStep) {
        const flash::Range step{at, std::min(kEmptyStep, end - at)};
        if (device.volume().mapped_share(step) > 0.0) continue;
        if (!parts.empty() && parts.back().end() == at)
            parts.back().length += step.length;
        else
            parts.push_back(step);
    }
    return parts;
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

void write_what_is_empty(Device& device, flash::Range range) {
    for (const flash::Range& part : empty_parts(device, range)) {
        flash::Workload workload{flash::Pattern::sequential, flash::Direction::write};
        workload.block_bytes = kEmptyStep;
        workload.range = part;
        PacedLoad(device, workload).for_bytes(part.length);
    }
}

}  // namespace appliance
