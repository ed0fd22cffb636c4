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
#include "shared/command_line.h"

namespace {

constexpr uint64_t kMib = uint64_t{1} << 20;
constexpr uint64_t kMostMib = UINT64_MAX / kMib;
constexpr uint64_t kGib = uint64_t{1} << 30;
/// Tables are updated, nothing is erased: a drive of any size is done in seconds.
constexpr double kSecondsPerGib = 0.1;
/// Short steps are saved together.
constexpr uint64_t kSavedTogether = 4 * kGib;

struct Options {
    std::string device;
    uint64_t offset_mib = 0;
    uint64_t length_mib = kMostMib;
    uint64_t step_mib = kMostMib;
};

int discard(const Options& options) {
    const std::unique_ptr<appliance::Device> device = appliance::open_device(options.device);
    const uint64_t begin = options.offset_mib * kMib;
    if (begin > device->bytes()) {
        throw std::runtime_error(
            fmt::format("{}: offset is greater than device size", options.device));
    }
    const uint64_t end = begin + std::min(options.length_mib * kMib, device->bytes() - begin);
    const uint64_t step = std::max(options.step_mib * kMib, kSavedTogether);
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
        Options options;
        ssd_op::shared::Arguments app("Discard the blocks of a device.");
        app.add("device", options.device, "Drive, partition or volume").required();
        app.add("-o", options.offset_mib, "First MiB to discard").between(uint64_t{0}, kMostMib);
        app.add("-l", options.length_mib, "MiB to discard").between(uint64_t{0}, kMostMib);
        app.add("-p", options.step_mib, "MiB to discard at a time").between(uint64_t{0}, kMostMib);
        const auto code = app.parse(argc, argv);
        return code ? *code : discard(options);
    });
}
