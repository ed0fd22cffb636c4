#include "measuring/our_device.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <fmt/format.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include "core/failure.h"
#include "core/read.h"
#include "core/text.h"
#include "taking/taking.h"

namespace host {

namespace {

using ssd_op::shared::Descriptor;

/// Only what is itself a device, or one of device mapper's names, which udev makes links.
DeviceNumber number_at(const Roots& roots, const std::string& path) {
    struct stat found {};
    const bool is_there = ::lstat(path.c_str(), &found) == 0;
    const bool is_volume_name = path.starts_with(roots.dev + "/mapper/");
    const auto number = block_device_at(path);
    if (is_there && number && (!S_ISLNK(found.st_mode) || is_volume_name)) return *number;
    throw Failure(fmt::format("{} is no block device{}.", printable(path),
                              !is_there                ? ", it is not there"
                              : S_ISLNK(found.st_mode) ? ", but a link"
                                                       : ""),
                  "Name an enrolled drive, its data partition or a test volume.");
}

bool is_open_at(int file, DeviceNumber number, uint64_t& bytes) {
    return is_device(file, number) && ::ioctl(file, BLKGETSIZE64, &bytes) == 0;
}

}  // namespace

OurDevice::OurDevice(const Roots& roots, const std::string& path)
    : roots_(roots), number_(number_at(roots, path)) {
    // Locked while it is decided, so that nobody takes down meanwhile what is asked for.
    UndoList undo(roots);
    if (const auto drive = find_drive(roots, number_)) {
        drive_ = take(roots, undo, *drive);
        bytes_ = drive->bytes;
        return;
    }
    part_ = ownership_of(roots, undo, number_, path);
    hold(path);
    check();
}

void OurDevice::hold(const std::string& path) {
    const int alone = part_->is_member ? 0 : O_EXCL;
    file_ = Descriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | alone));
    if (!file_) {
        throw Failure(fmt::format("{} cannot be had: {}.", printable(path), std::strerror(errno)),
                      "Is it in use?");
    }
    if (!is_open_at(file_.get(), number_, bytes_) || bytes_ == 0)
        throw Failure(printable(path) + " is another device by now.", "Nothing was written to it.");
}

std::optional<DiscardUnit> OurDevice::discard_unit() const {
    std::string directory = roots_.sys + "/dev/block/" + number_.text();
    const uint64_t alignment = read_number(directory + "/discard_alignment").value_or(0);
    if (read_number(directory + "/partition")) directory += "/..";
    const DiscardLimits limits{read_number(directory + "/queue/discard_max_bytes").value_or(0),
                               read_number(directory + "/queue/discard_granularity").value_or(0)};
    if (!limits.supported()) return std::nullopt;
    return DiscardUnit{limits.granularity, alignment};
}

void OurDevice::check() const {
    if (drive_) return drive_->check();
    uint64_t bytes = 0;
    if (!is_open_at(file_.get(), number_, bytes) || bytes != bytes_)
        throw Failure("The device is gone, or has another size.", "Nothing more is written to it.");
    part_->check(roots_);
}

void OurDevice::check_complete() const {
    check();
    if (part_) part_->check_redundancy();
}

Descriptor OurDevice::open_for_writing() const {
    if (drive_) return drive_->open_for_writing();
    check();
    const std::string held = fmt::format("/proc/self/fd/{}", file_.get());
    Descriptor file(::open(held.c_str(), O_RDWR | O_CLOEXEC));
    uint64_t bytes = 0;
    if (!file || !is_open_at(file.get(), number_, bytes)) {
        throw Failure(fmt::format("It cannot be opened for writing: {}.", std::strerror(errno)),
                      "Nothing was written to it.");
    }
    return file;
}

}  // namespace host
