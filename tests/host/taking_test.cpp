#include "taking/taking.h"

#include "core/failure.h"
#include "host_tree.h"
#include "taking/release.h"

namespace host {
namespace {

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

}  // namespace
}  // namespace host
