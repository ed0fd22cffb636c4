/// kblkdiscard DEVICE [-o MiB] [-l MiB] [-p MiB]: gives blocks of a drive, a data partition or a
/// volume back to the drives under it. Any other device is refused.
///
///   -o  first block to discard, default 0
///   -l  how much, default all to the end of the device
///   -p  how much at a time, default all at once
///
/// It goes no further than the device, and only over the drive's own units that are wholly within.

#include <algorithm>
#include <cstdint>
#include <string>

#include "measuring/discard.h"
#include "programs/program.h"
#include "shared/command_line.h"

namespace {

constexpr uint64_t kMib = uint64_t{1} << 20;
constexpr uint64_t kMostMib = UINT64_MAX / kMib;

struct Options {
    std::string device;
    uint64_t offset_mib = 0;
    uint64_t length_mib = kMostMib;
    uint64_t step_mib = kMostMib;
};

int discard(const Options& options) {
    const host::OurDevice device(host::Roots{}, options.device);
    host::discard(device, {options.offset_mib * kMib, options.length_mib * kMib},
                  options.step_mib * kMib);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    return host::run_program("kblkdiscard", [&] {
        Options options;
        ssd_op::shared::Arguments app("Discard the blocks of a device.");
        app.add("device", options.device, "Enrolled drive, data partition or volume").required();
        app.add("-o", options.offset_mib, "First MiB to discard").between(uint64_t{0}, kMostMib);
        app.add("-l", options.length_mib, "MiB to discard").between(uint64_t{0}, kMostMib);
        app.add("-p", options.step_mib, "MiB to discard at a time").between(uint64_t{0}, kMostMib);
        const auto code = app.parse(argc, argv);
        return code ? *code : discard(options);
    });
}
