#include "taking/taking.h"

#include <fcntl.h>
#include <linux/loop.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include "core/failure.h"
#include "core/tool.h"
#include "enrolment/enrolment.h"
#include "host_tree.h"
#include "shared/descriptor.h"
#include "taking/release.h"

namespace host {
namespace {

using ssd_op::shared::Descriptor;
using ::testing::HasSubstr;

class Taking : public HostTree {
  protected:
    Taking() { place_ = add_nvme(0, "S1"); }

    Drive drive() const { return drive_with_serial(roots_, "S1"); }
    void enroll(uint64_t bytes) {
        const Identity identity = drive().identity;
        store_enrolled(roots_, {"S1", identity.wwn, identity.model, bytes, false, "now"});
    }
    /// Why the drive is not taken. Nothing may be noted of such a drive.
    std::string refused() {
        UndoList undo(roots_);
        const size_t before = undo.entries().size();
        try {
            take(roots_, undo, drive());
        } catch (const Failure& failure) {
            return undo.entries().size() == before ? failure.what() : "refused, and noted";
        }
        return "taken";
    }

    std::string place_;
};

TEST_F(Taking, IsOfDrivesThatWereGivenAndOfNoOthers) {
    EXPECT_EQ(refused(), "The drive S1 is not enrolled.");
    enroll(4096);
    EXPECT_THAT(refused(), HasSubstr("not the one that was enrolled"));
    enroll(drive().bytes);
    // It goes on to the examination, which nothing but a block device passes.
    EXPECT_THAT(refused(), HasSubstr("The drive S1 is refused:"));
}

TEST_F(Taking, RemembersWhichDriveItWas) {
    enroll(drive().bytes);
    UndoList undo(roots_);
    EXPECT_FALSE(is_taken(undo, drive()));
    const Identity was = drive().identity;
    const Json details{{"wwn", was.wwn}, {"model", was.model}, {"bytes", drive().bytes}};
    undo.add({UndoEntry::Kind::kDrive, "S1", details});
    EXPECT_TRUE(is_taken(undo, drive()));
    put(place_ + "/wwid", "eui.another\n");
    EXPECT_THROW(is_taken(undo, drive()), Failure);
}

TEST_F(Taking, IsUndoneBeforeTheDriveIsReleased) {
    using Kind = UndoEntry::Kind;
    enroll(drive().bytes);
    for (const Kind kind : {Kind::kDrive, Kind::kPartitions}) {
        UndoList(roots_).add({kind, "S1"});
        EXPECT_THROW(release(roots_, "S1"), Failure);
        EXPECT_EQ(enrolled_drives(roots_).size(), 1u);
        UndoList(roots_).remove(kind, "S1");
    }
    UndoList(roots_).add({Kind::kDrive, "S2"});
    release(roots_, "S1");
    EXPECT_THROW(release(roots_, "S1"), Failure);
}

/// The drive is a loop device, which needs root. It goes with the last that has it open.
class TakingForReal : public Taking {
  protected:
    void SetUp() override {
        put("image", "");
        std::filesystem::resize_file(base_ + "/image", kBytes);
        drive_ = loop_over(base_ + "/image", device_);
        if (!drive_) GTEST_SKIP() << "no loop device can be had";
        put(place_ + "/dev", block_device_at(device_)->text());
        put(place_ + "/size", std::to_string(kBytes / 512));
    }
    static Descriptor loop_over(const std::string& file, const std::string& node) {
        const Descriptor control(::open("/dev/loop-control", O_RDWR | O_CLOEXEC));
        const Descriptor shown(::open(file.c_str(), O_RDWR | O_CLOEXEC));
        const int index = ::ioctl(control.get(), LOOP_CTL_GET_FREE);
        Descriptor loop(::open(fmt::format("/dev/loop{}", index).c_str(), O_RDWR | O_CLOEXEC));
        loop_config config{};
        config.fd = static_cast<__u32>(shown.get());
        config.info.lo_flags = LO_FLAGS_AUTOCLEAR;
        struct stat found {};
        if (!loop || ::ioctl(loop.get(), LOOP_CONFIGURE, &config) != 0 ||
            ::fstat(loop.get(), &found) != 0 ||
            ::mknod(node.c_str(), S_IFBLK | 0600, found.st_rdev) != 0)
            return Descriptor();
        return loop;
    }
    void run(std::vector<std::string> words, const std::string& input = "") {
        words.push_back(device_);
        ASSERT_EQ(run_tool(words, {.input = input}).status, 0) << words[0];
    }

    static constexpr uint64_t kBytes = 32 << 20;
    const std::string device_ = base_ + "/dev/nvme0n1";
    Descriptor drive_;
};

TEST_F(TakingForReal, IsOfNothingThatOthersPutThereSinceItWasTaken) {
    constexpr const char* kGuid = "6F1E3B5A-0000-4000-8000-000000000001";
    enroll(kBytes);
    ASSERT_EQ(refused(), "taken");
    ASSERT_EQ(::pwrite(drive_.get(), "data", 4, 0), 4);
    EXPECT_EQ(refused(), "taken");
    run({"mkfs.ext4", "-q", "-F", "-L", "mine"});
    EXPECT_THAT(refused(), HasSubstr("it holds ext4 \"mine\". If that may go"));
    for (const bool had_any : {true, false}) {
        host::enroll(roots_, {"S1", {true}, "S1"}, nullptr);
        EXPECT_EQ(enrolled_drives(roots_).at(0).wipe, had_any);
        run({"blkdiscard", "--zeroout", "--force"});
    }
    run({"sfdisk", "-q"}, fmt::format("label: gpt\nlabel-id: {}\nsize=8M\n", kGuid));
    EXPECT_THAT(refused(), HasSubstr("it holds gpt"));
    UndoList(roots_).add({UndoEntry::Kind::kPartitions, "S1", {{"guid", kGuid}}});
    EXPECT_EQ(refused(), "taken");
}

TEST_F(TakingForReal, IsOfNoDriveThatALoopDeviceShowsWhateverItIsCalledThere) {
    const Descriptor loop = loop_over(device_, base_ + "/dev/loop9");
    if (!loop) GTEST_SKIP() << "no second loop device can be had";
    const std::string place = "sys/devices/virtual/block/loop9";
    const std::string number = block_device_at(base_ + "/dev/loop9")->text();
    add_device(place, number);
    put(place + "/loop/backing_file", "/in another view/nvme0n1\n");
    const Examination examination = examine(roots_, drive(), {});
    EXPECT_FALSE(examination.passed());
    EXPECT_EQ(list_of(examination.reasons),
              "  - it is open in the loop device loop9. End that first.\n");
    link("sys/dev/block/" + drive().number.text(), place_);
    put("proc/self/mountinfo", "28 1 " + number + " / / rw - ext4 /dev/root rw\n");
    EXPECT_THAT(list_of(reasons_in_tables(roots_, drive())), HasSubstr("this system lies on it"));
}

}  // namespace
}  // namespace host
