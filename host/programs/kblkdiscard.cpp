/// kblkdiscard DEVICE [-o MiB] [-l MiB] [-p MiB]: gives blocks of a drive, a data partition or a
/// volume back to the drives under it. Any other device is refused.
///
///   -o  first block to discard, default 0
///   -l  how much, default all to the end of the device
///   -p  how much at a time, default all at once
///
/// It goes no further than the device, and only over the drive's own units that are wholly within,
/// if there are any.

#include "measuring/discard.h"
#include "programs/program.h"
#include "provider/discard_options.h"

namespace {

int discard(const provider::DiscardOptions& options) {
    const host::OurDevice device(host::Roots{}, options.device);
    host::discard(device, {options.offset(), options.length()}, options.step());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    return host::run_called_program("kblkdiscard", [&] {
        const auto parsed =
            provider::parse_discard(argc, argv, "Enrolled drive, data partition or volume");
        return parsed.is_asked ? discard(parsed.options) : parsed.exit_status;
    });
}
