#include "refusal/held_drive.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <linux/fs.h>
#include <sys/ioctl.h>

#include "core/failure.h"

namespace host {

namespace {

using ssd_op::shared::Descriptor;

/// Of a drive that was pulled, 0, however long it stays open.
uint64_t bytes_of(int file) {
    uint64_t bytes = 0;
    return ::ioctl(file, BLKGETSIZE64, &bytes) == 0 ? bytes : 0;
}

}  // namespace

HeldDrive::HeldDrive(const Roots& roots, Drive drive, Descriptor file)
    : roots_(roots), drive_(std::move(drive)), file_(std::move(file)) {}

std::optional<HeldDrive> HeldDrive::take(const Roots& roots, const Drive& drive) {
    const std::string device = drive.device(roots);
    // A regular file or a pipe of that name is not waited for.
    Descriptor file(
        ::open(device.c_str(), O_RDONLY | O_EXCL | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
    if (!file && errno == EBUSY) return std::nullopt;
    if (!file) {
        throw Failure(fmt::format("It cannot be opened at {}: {}.", device, std::strerror(errno)),
                      "Run it as root; is the drive still there?");
    }
    if (!is_device(file.get(), drive.number)) {
        throw Failure(fmt::format("{} is not the block device {}.", device, drive.number.text()),
                      "List the drives again; is devtmpfs mounted there?");
    }
    HeldDrive held(roots, drive, std::move(file));
    held.check();
    return held;
}

void HeldDrive::check() const {
    if (!is_device(file_.get(), drive_.number) || bytes_of(file_.get()) != drive_.bytes)
        fail_changed(drive_);
    check_same(roots_, drive_);
}

Descriptor HeldDrive::open_for_writing() const {
    check();
    const std::string held = fmt::format("/proc/self/fd/{}", file_.get());
    Descriptor file(::open(held.c_str(), O_RDWR | O_CLOEXEC));
    if (file && !is_device(file.get(), drive_.number)) fail_changed(drive_);
    if (!file) {
        throw Failure(fmt::format("The drive {} cannot be opened for writing: {}.",
                                  drive_.identity.serial, std::strerror(errno)),
                      "Nothing was written to it.");
    }
    return file;
}

void HeldDrive::read_partitions_again() const {
    constexpr int kTries = 50;
    constexpr std::chrono::milliseconds kPause{100};
    check();
    // Who looks at each new partition, as udev does, keeps it open for a moment.
    for (int tries = 0; ::ioctl(file_.get(), BLKRRPART) != 0; ++tries) {
        if (errno != EBUSY || tries == kTries) {
            throw Failure(fmt::format("The kernel does not read the partitions of {}: {}.",
                                      drive_.identity.serial, std::strerror(errno)),
                          "Is one of them in use?");
        }
        std::this_thread::sleep_for(kPause);
    }
}

}  // namespace host
