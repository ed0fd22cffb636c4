#include "measuring/discard.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <fmt/format.h>
#include <linux/fs.h>
#include <sys/ioctl.h>

#include "core/failure.h"

namespace host {

namespace {

/// A single request may not be interrupted, so that a killed program would live on for its length.
constexpr uint64_t kMostAtOnce = uint64_t{4} << 30;

void discard_once(const OurDevice& device, const Range& range) {
    const auto file = device.open_for_writing();
    std::array<uint64_t, 2> request{range.offset, range.length};
    if (::ioctl(file.get(), BLKDISCARD, request.data()) == 0) return;
    throw Failure(fmt::format("{} bytes from {} on are not discarded: {}.", range.length,
                              range.offset, std::strerror(errno)),
                  "See dmesg for what the kernel says of the drive.");
}

}  // namespace

void discard(const OurDevice& device, const Range& range, uint64_t step) {
    const auto unit = device.discard_unit();
    if (!unit) throw Failure("The device takes no discards.", "Discard on the drives under it.");
    if (range.offset > device.bytes())
        throw Failure("The range begins behind the end of the device.", "Nothing was discarded.");
    const uint64_t length = std::min(range.length, device.bytes() - range.offset);
    Range whole = inward({range.offset, length}, *unit);
    // The library asks for one MiB to see whether a drive takes discards, and whether the rest, of
    // which it does not look at the outcome, will be. With units larger than that there is none to
    // give back, but the drive must be asked.
    if (whole.length == 0) whole = {range.offset, length};
    const uint64_t piece =
        std::max(std::min(step, kMostAtOnce) / unit->bytes * unit->bytes, unit->bytes);
    for (uint64_t done = 0; done < whole.length; done += std::min(piece, whole.length - done))
        discard_once(device, {whole.offset + done, std::min(piece, whole.length - done)});
}

}  // namespace host
