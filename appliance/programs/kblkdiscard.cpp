/// kblkdiscard DEVICE [-o MiB] [-l MiB] [-p MiB]: gives blocks of a drive, a partition or a volume
/// back to the drives under it.
///
///   -o  first block to discard, default 0
///   -l  how much, default all to the end of the device
///   -p  how much at a time, default all at once: what other processes wait for meanwhile
///
/// Whole blocks are unmapped in the drives' flash at once; a killed run leaves done what it has
/// done.

#include <algorithm>
#include <cstdint>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>

#include "core/pause.h"
#include "device/device.h"
#include "programs/program.h"
#include "provider/discard_options.h"

namespace {

constexpr uint64_t kGib = uint64_t{1} << 30;
/// Tables are updated, nothing is erased: a drive of any size is done in seconds.
constexpr double kSecondsPerGib = 0.1;
/// Short steps are saved together.
constexpr uint64_t kSavedTogether = 4 * kGib;

int discard(const provider::DiscardOptions& options) {
    const std::unique_ptr<appliance::Device> device = appliance::open_device(options.device);
    const uint64_t begin = options.offset();
    if (begin > device->bytes()) {
        throw std::runtime_error(
            fmt::format("{}: offset is greater than device size", options.device));
    }
    const uint64_t end = begin + std::min(options.length(), device->bytes() - begin);
    const uint64_t step = std::max(options.step(), kSavedTogether);
    for (uint64_t at = begin; at < end; at += std::min(step, end - at)) {
        const uint64_t length = std::min(step, end - at);
        const double seconds = device->update([&] {
            device->volume().discard({at, length});
            return kSecondsPerGib * static_cast<double>(length) / static_cast<double>(kGib);
        });
        appliance::pause_for(seconds);
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    return appliance::run_program("kblkdiscard", argc, argv, [&] {
        const auto parsed = provider::parse_discard(argc, argv, "Drive, partition or volume");
        return parsed.is_asked ? discard(parsed.options) : parsed.exit_status;
    });
}
