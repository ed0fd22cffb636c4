#include <algorithm>

#include "enrolment/enrolment.h"
#include "host_tree.h"
#include "refusal/examination.h"

namespace host {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Kind = Reason::Kind;

class Refusal : public HostTree {
  protected:
    Refusal() { place_ = add_nvme(0, "S1"); }

    /// The only reason against the drive; a text that says so when there is none, or another.
    std::string only(Kind kind) const {
        const auto reasons = reasons_in_tables(roots_, drive_with_serial(roots_, "S1"));
        if (reasons.size() != 1 || reasons[0].kind != kind)
            return "not that alone:\n" + list_of(reasons);
        return reasons[0].text;
    }
    bool nothing() const {
        return reasons_in_tables(roots_, drive_with_serial(roots_, "S1")).empty();
    }
    void mount(const std::string& lines) { put("proc/self/mountinfo", kMounts + lines); }

    std::string place_;
};

TEST_F(Refusal, OfDrivesWithSomethingMountedIsByNumber) {
    add_partition(place_, "nvme0n1p1", "259:1");
    add_nvme(1, "S2");
    EXPECT_TRUE(nothing());
    mount(
        "31 28 259:10 / /mnt rw shared:1 - ext4 /dev/nvme0n1 rw\n");  // another drive, an old name
    EXPECT_TRUE(nothing());
    mount(
        "31 28 259:1 /a /mnt/x\\040-\\040\\033[2J rw shared:1 master:2 - ext4 /dev/elsewhere rw\n");
    EXPECT_EQ(only(Kind::kMounted), "nvme0n1p1 is mounted at /mnt/x - \\x1b[2J");
    mount("");
    put("proc/1/mountinfo", "31 28 259:1 / /srv rw - ext4 /dev/elsewhere rw\n");  // out of sight
    EXPECT_EQ(only(Kind::kMounted), "nvme0n1p1 is mounted at /srv");
}

TEST_F(Refusal, OfTheSystemsOwnDriveSeesThroughEverythingBuiltOnIt) {
    add_partition(place_, "nvme0n1p2", "259:2");
    add_above("md0", "9:0", place_ + "/nvme0n1p2");
    add_above("dm-3", "253:3", "sys/devices/virtual/block/md0");
    const Drive drive = drive_with_serial(roots_, "S1");
    for (const char* point : {"/", "/boot", "/usr"}) {
        put("proc/self/mountinfo", fmt::format("28 1 253:3 / {} rw - xfs /dev/root rw\n", point));
        const auto reasons = reasons_in_tables(roots_, drive);
        EXPECT_THAT(list_of(reasons), HasSubstr("this system lies on it"));
        EXPECT_THAT(list_of(reasons), HasSubstr("nvme0n1p2 belongs to the md array md0"));
    }
    // What an automount stands for is not known until it is mounted.
    const std::string root = "28 1 0:23 / / rw - overlay overlay rw\n";
    for (const auto& [lines, settled] : std::initializer_list<std::pair<const char*, bool>>{
             {"", false},
             {"42 40 0:37 / /efi rw - autofs efi rw,fd=7,direct\n", false},
             {"42 40 8:1 / /boot rw - vfat /dev/gone rw\n", true}}) {
        put("proc/self/mountinfo", root +
                                       "40 28 0:36 / /boot rw - autofs systemd-1 rw,fd=5,direct\n"
                                       "41 28 0:36 / /home rw - autofs auto.home rw,indirect\n" +
                                       lines);
        EXPECT_EQ(
            list_of(reasons_in_tables(roots_, drive)).find("to be mounted at") == std::string::npos,
            settled);
    }
    // The devices of such a system are not known to the kernel's tables.
    put("proc/self/mountinfo", "28 1 0:30 / / rw - zfs rpool/root rw\n");
    EXPECT_THAT(list_of(reasons_in_tables(roots_, drive)), HasSubstr("cannot be told"));
}

TEST_F(Refusal, OfDrivesInUseTellsByWhat) {
    add_above("dm-1", "253:1", place_);
    for (const auto& [uuid, text] : std::initializer_list<std::pair<const char*, const char*>>{
             {"LVM-abc", "the LVM volume dm-1 (v\\x1b)"},
             {"CRYPT-PLAIN-v", "the encrypted device dm-1 (v\\x1b)"},
             {"mpath-36", "the multipath device dm-1 (v\\x1b)"},
             {"", "the device mapper device dm-1 (v\\x1b)"}}) {
        put("sys/devices/virtual/block/dm-1/dm/uuid", uuid);
        put("sys/devices/virtual/block/dm-1/dm/name", "v\x1b");
        EXPECT_EQ(only(Kind::kHeld), std::string("nvme0n1 belongs to ") + text);
    }
}

TEST_F(Refusal, OfDrivesThatAreOpenCountsTheirGenericDevices) {
    put("proc/4711/comm", "a guest\n");
    std::filesystem::create_directories(base_ + "/proc/4711/fd");
    std::filesystem::create_symlink("/dev/null", base_ + "/proc/4711/fd/3");  // 1:3
    put(place_ + "/dev", "1:3\n");                                            // of a block device
    EXPECT_TRUE(nothing());
    put(place_ + "/device/scsi_generic/sg0/dev", "1:3\n");
    EXPECT_EQ(only(Kind::kOpen), "it is open in a guest (process 4711)");
}

TEST_F(Refusal, OfDrivesThatCannotDoTheWork) {
    put(place_ + "/queue/discard_max_bytes", "0\n");
    EXPECT_EQ(only(Kind::kDiscard), "it takes no discards");
    put(place_ + "/queue/discard_max_bytes", "4096\n");
    put(place_ + "/ro", "1\n");
    EXPECT_EQ(only(Kind::kReadOnly), "it is read-only");
    put(place_ + "/ro", "0\n");
    put(add_nvme(1, "S2") + "/wwid", "eui.S1\n");
    EXPECT_THAT(only(Kind::kIdentity), HasSubstr("nvme1n1 has the same WWN"));
    put(add_nvme(2, "S2") + "/wwid", "eui.other\n");
    for (const auto& [index, other] : {std::pair(1, "nvme2n1"), {2, "nvme1n1"}}) {
        const Drive drive = list_drives(roots_).at(static_cast<size_t>(index));
        EXPECT_THAT(list_of(reasons_in_tables(roots_, drive)),
                    HasSubstr(std::string(other) + " has the same serial number"));
    }
}

TEST_F(Refusal, IsTheAnswerToEveryDoubt) {
    EXPECT_TRUE(nothing());
    for (const char* line :
         {"31 28", "31 28 259 / /mnt rw - ext4 x rw", "31 28 259:0 / /mnt rw ext4 x",
          "31 28 259:0 / /mnt rw -", "31 28 259:99999999999 / /mnt rw - ext4 x rw"}) {
        mount(line);
        EXPECT_THAT(list_of(reasons_in_tables(roots_, drive_with_serial(roots_, "S1"))),
                    HasSubstr("is not understood"));
    }
    mount("");
    std::filesystem::remove(base_ + "/proc/1/mountinfo");
    EXPECT_THAT(list_of(reasons_in_tables(roots_, drive_with_serial(roots_, "S1"))),
                HasSubstr("/1/mountinfo cannot be read"));
    put("proc/1/mountinfo", kMounts);
    put("proc/swaps", "Filename Type\n/swap\\040file file 1 0 -2\n");
    EXPECT_TRUE(nothing());
    put("proc/swaps", "Filename Type\n/dev/gone\\040away partition 1 0 -2\n");
    EXPECT_THAT(only(Kind::kDoubt), HasSubstr("/dev/gone away has no device number"));
    std::filesystem::remove(base_ + "/proc/swaps");
    EXPECT_THAT(only(Kind::kDoubt), HasSubstr("cannot be read"));
    put("proc/swaps", "Filename Type\n");
    add_device("sys/devices/virtual/block/loop7", "7:7");  // without a node
    EXPECT_TRUE(nothing());
    put("sys/devices/virtual/block/loop7/loop/backing_file", "/somewhere else\n");
    EXPECT_THAT(only(Kind::kDoubt), HasSubstr("the loop device loop7 shows cannot be told"));
    std::filesystem::remove(base_ + "/sys/block/loop7");
    put("proc/4711/comm", "hidden\n");  // without a list of what it has open
    EXPECT_THAT(only(Kind::kDoubt), HasSubstr("cannot be seen"));
    std::filesystem::remove_all(base_ + "/proc/4711");
    std::filesystem::remove(base_ + "/proc/self/ns/pid");
    std::filesystem::create_symlink("pid:[4026532000]", base_ + "/proc/self/ns/pid");
    EXPECT_THAT(only(Kind::kDoubt), HasSubstr("as from a container"));
    std::filesystem::remove(base_ + "/proc/self/ns/pid");
    std::filesystem::create_symlink("pid:[4026531836]", base_ + "/proc/self/ns/pid");
    std::filesystem::remove_all(base_ + "/" + place_ + "/holders");
    EXPECT_THAT(only(Kind::kDoubt), HasSubstr("holders cannot be read"));
}

TEST_F(Refusal, OfWhatIsNoBlockDeviceHoldsNothing) {
    put("dev/nvme0n1", std::string(4096, '\0'));
    for (const bool wipe : {false, true}) {
        const Examination examination = examine(roots_, drive_with_serial(roots_, "S1"), {wipe});
        EXPECT_FALSE(examination.passed());
        EXPECT_THAT(list_of(examination.reasons), HasSubstr("is not the block device 259:0"));
    }
    EXPECT_THROW(enroll(roots_, {"S1", {true}, "S1"}, nullptr), Failure);
    EXPECT_THAT(enrolled_drives(roots_), IsEmpty());
}

}  // namespace
}  // namespace host
