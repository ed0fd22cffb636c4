/// A drive of a made-up host that can be written to: a loop device over a file, with partitions.
/// Where no loop device is to be had, such a test is skipped.
#pragma once

#include <cstdint>
#include <string>

#include <fcntl.h>
#include <linux/loop.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include "enrolment/enrolled.h"
#include "host_tree.h"
#include "refusal/examination.h"
#include "shared/descriptor.h"
#include "storage/layout.h"

namespace host {

class LoopDrive : public HostTree {
  protected:
    static constexpr uint64_t kMib = 1 << 20, kBytes = 100 * kMib;

    void SetUp() override {
        place_ = add_nvme(0, "S1");
        put("image", "");
        std::filesystem::resize_file(base_ + "/image", kBytes);
        if (!attach()) GTEST_SKIP() << "There is no loop device to be had.";
        put(place_ + "/size", std::to_string(kBytes / 512));
        put(place_ + "/dev", number_);
        link("sys/dev/block/" + number_, place_);
        const std::string data = place_ + "/nvme0n1p3";
        put(data + "/partition", "3");
        put(data + "/start", std::to_string(4 * kMib / 512));
        put(data + "/size", std::to_string((kBytes - 5 * kMib) / 512));
        add_device(data, "259:3");
    }

    Drive drive() const { return drive_with_serial(roots_, "S1"); }
    std::string device() const { return roots_.dev + "/nvme0n1"; }
    void enroll(bool wipe) {
        const Drive now = drive();
        store_enrolled(roots_,
                       {"S1", now.identity.wwn, now.identity.model, now.bytes, wipe, "now"});
    }
    /// As an evaluation leaves it that is gone.
    void take_and_lay_out() {
        const Drive now = drive();
        UndoList undo(roots_);
        undo.add(
            {UndoEntry::Kind::kDrive,
             "S1",
             {{"wwn", now.identity.wwn}, {"model", now.identity.model}, {"bytes", now.bytes}}});
        const Examination examination = examine(roots_, now, {});
        ASSERT_TRUE(examination.passed()) << examination.reasons.front().text;
        lay_out(roots_, undo, *examination.held);
    }
    ssd_op::shared::Descriptor open() const {
        return ssd_op::shared::Descriptor(::open(device().c_str(), O_RDWR | O_CLOEXEC));
    }
    void write(uint64_t offset, const std::string& bytes) const {
        const auto file = open();
        ASSERT_EQ(::pwrite(file.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset)),
                  static_cast<ssize_t>(bytes.size()));
    }

    std::string place_;

  private:
    /// It goes with the last who has it open.
    bool attach() {
        const ssd_op::shared::Descriptor control(::open("/dev/loop-control", O_RDWR | O_CLOEXEC));
        const ssd_op::shared::Descriptor image(
            ::open((base_ + "/image").c_str(), O_RDWR | O_CLOEXEC));
        const int index = control ? ::ioctl(control.get(), LOOP_CTL_GET_FREE) : -1;
        if (index < 0) return false;
        loop_ = ssd_op::shared::Descriptor(
            ::open(fmt::format("/dev/loop{}", index).c_str(), O_RDWR | O_CLOEXEC));
        loop_config config{};
        config.fd = static_cast<uint32_t>(image.get());
        config.info.lo_flags = LO_FLAGS_AUTOCLEAR | LO_FLAGS_PARTSCAN;
        struct stat found {};
        if (!loop_ || ::ioctl(loop_.get(), LOOP_CONFIGURE, &config) != 0 ||
            ::fstat(loop_.get(), &found) != 0)
            return false;
        number_ = fmt::format("{}:{}", major(found.st_rdev), minor(found.st_rdev));
        return ::mknod(device().c_str(), S_IFBLK | 0600, found.st_rdev) == 0 && open();
    }

    ssd_op::shared::Descriptor loop_;
    std::string number_;
};

}  // namespace host
