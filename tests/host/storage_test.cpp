#include <unistd.h>

#include "host_tree.h"
#include "shared/raid_level.h"
#include "storage/array.h"
#include "storage/cleanup.h"
#include "storage/layout.h"
#include "storage/lvm.h"
#include "storage/mdadm.h"
#include "storage/unique.h"
#include "undo/owner.h"

namespace host {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using Kind = UndoEntry::Kind;
using ssd_op::shared::data_members;

class Undoing : public HostTree {
  protected:
    std::vector<std::string> listed() const {
        std::vector<std::string> names;
        const UndoList undo(roots_);
        for (const UndoEntry& entry : undo.entries()) names.push_back(entry.name);
        return names;
    }
    bool cleans_up(const std::string& forget = {}) {
        told_.clear();
        return clean_up(roots_, forget, [&](const std::string& line) { told_.push_back(line); });
    }

    std::vector<std::string> told_;
};

TEST_F(Undoing, ListKeepsItsOrderAndOutlivesWhatEndsItsWriter) {
    {
        UndoList undo(roots_);
        for (const char* name : {"S1", "S2", "S3"}) undo.add({Kind::kDrive, name});
        undo.add({Kind::kDrive, "S1", {{"bytes", 1}}});  // in its place
        undo.remove(Kind::kPartitions, "S2");            // another kind
    }
    EXPECT_THAT(listed(), ElementsAre("S1", "S2", "S3"));
    put("state/undo.json.new", "[{\"kind\": \"dri");  // a writer was killed
    EXPECT_THAT(listed(), ElementsAre("S1", "S2", "S3"));
    UndoList(roots_).remove(Kind::kDrive, "S2");
    EXPECT_THAT(listed(), ElementsAre("S1", "S3"));

    for (const char* damaged :
         {"[", "{}", "[{\"kind\": \"drive\"}]", "",
          R"([{"kind": "house", "name": "1", "details": {}}])",
          R"([{"kind": "drive", "name": "1", "details": []}])",
          R"([{"kind": "drive", "name": "1", "details": {}}, {"name": "2"}])"}) {
        put("state/undo.json", damaged);
        EXPECT_THROW(listed(), Failure) << damaged;
        EXPECT_THROW(cleans_up(), Failure) << damaged;
    }
}

TEST_F(Undoing, RecordsAreReadAsTheyWereWritten) {
    UndoList undo(roots_);
    undo.add(entry_of(ArrayRecord{800, RAID_LEVEL_JBOD, "u:u", {"S1", "S2"}, {"S3"}, {}}));
    undo.add(entry_of(PoolRecord{1, {800}, "tag", "", {}}));
    undo.add(entry_of(VolumeRecord{1568, 1, "tag", "id", {}}));
    const auto array = find_array_record(undo, 800);
    ASSERT_TRUE(array);
    EXPECT_EQ(array->level, RAID_LEVEL_JBOD);
    EXPECT_THAT(array->members, ElementsAre("S1", "S2"));
    EXPECT_THAT(find_pool_record(undo, 1)->arrays, ElementsAre(800));
    EXPECT_EQ(find_volume_record(undo, 1568)->device(), "ssd_op_pool_1-lv1568");
    // What is needed by a later step is not undone.
    EXPECT_THROW(remove_array(roots_, undo, 800), Failure);
    EXPECT_EQ(undo.entries().size(), 3u);
    for (const char* name : {"800x", "-1", "99999999999"})
        EXPECT_THROW(array_of({Kind::kArray, name, entry_of(*array).details}), Failure) << name;
    EXPECT_THROW(array_of({Kind::kArray, "800", {{"level", "5"}}}), Failure);
}

TEST_F(Undoing, KeepsWhatCannotBeUndoneAndSaysWhy) {
    {
        UndoList undo(roots_);
        undo.add({Kind::kDrive, "S1"});
        undo.add({Kind::kPartitions, "S1", {{"guid", "G"}}});
        undo.add({Kind::kDrive, "S2"});
    }
    add_nvme(0, "S2");  // of another size than was taken
    EXPECT_FALSE(cleans_up());
    EXPECT_THAT(told_, ElementsAre(StartsWith("NOT undone: drive S2. The drive S2 is not the"),
                                   HasSubstr("The drive S1 is not there"),
                                   HasSubstr("The drive S1 has our partitions")));
    EXPECT_THAT(listed(), ElementsAre("S1", "S1", "S2"));
    EXPECT_FALSE(cleans_up("S2"));
    EXPECT_THAT(told_.back(), StartsWith("NOT forgotten: The drive S2 is there."));
    EXPECT_THAT(listed(), ElementsAre("S1", "S1", "S2"));
    EXPECT_FALSE(cleans_up("S1"));
    EXPECT_THAT(listed(), ElementsAre("S2"));
    put("state/undo.json", "[]");
    EXPECT_TRUE(cleans_up());
    EXPECT_THAT(told_, IsEmpty());
}

TEST_F(Undoing, OfAnArrayGoesOnBesideADriveThatCannotBeRead) {
    const std::string place = add_nvme(0, "S1");
    put(place + "/nvme0n1p3/partition", "3");
    put(place + "/nvme0n1p3/start", "8192");
    put(place + "/nvme0n1p3/size", "8192");
    add_device(place + "/nvme0n1p3", "259:3");
    const Drive drive = drive_with_serial(roots_, "S1");
    {
        UndoList undo(roots_);
        undo.add({Kind::kDrive,
                  "S1",
                  {{"wwn", drive.identity.wwn},
                   {"model", drive.identity.model},
                   {"bytes", drive.bytes}}});
        undo.add({Kind::kPartitions, "S1", {{"guid", "G"}}});
        undo.add(entry_of(ArrayRecord{800, 1, "u:u", {"S1"}, {}, {}}));
    }
    EXPECT_FALSE(cleans_up());  // somebody else's doing: it may be there the next time
    EXPECT_THAT(listed(), ElementsAre("S1", "S1", "800"));
    std::filesystem::create_directory(base_ + "/dev/nvme0n1");  // can be opened, and not read
    add_above("md800", "9:800", place + "/nvme0n1p3");          // tells no UUID, and is not stopped
    EXPECT_FALSE(cleans_up());
    EXPECT_THAT(listed(), ElementsAre("S1", "S1", "800"));
    std::filesystem::remove(base_ + "/sys/block/md800");
    EXPECT_FALSE(cleans_up());
    EXPECT_THAT(told_[0], "Undone: RAID group 800.");
    EXPECT_THAT(listed(), ElementsAre("S1", "S1"));
    EXPECT_TRUE(cleans_up("S1"));
    EXPECT_THAT(listed(), IsEmpty());
}

TEST_F(Undoing, IsNotDoneUnderALivingEvaluation) {
    roots_.proc = "/proc";
    Json owner = this_process(roots_);
    EXPECT_TRUE(lives(roots_, owner));
    UndoList(roots_).add(entry_of(VolumeRecord{1568, 1, "tag", "", owner}));
    EXPECT_THROW(cleans_up(), Failure);
    for (const char* field : {"began", "boot"}) {
        Json other = owner;
        other[field] = "another";
        EXPECT_FALSE(lives(roots_, other)) << field;
    }
    for (const char* strange : {"null", "[1]", "{}", R"({"pid": "1"})", R"({"pid": 1})"})
        EXPECT_FALSE(lives(roots_, Json::parse(strange))) << strange;
}

TEST(StorageTools, AreUnderstoodByWhatTheyTell) {
    const auto values = exported("MD_LEVEL=raid5\nMD_UUID=0:1:2:3\nMD_NAME=any:a=b\nnonsense\n=\n");
    EXPECT_EQ(values.at("MD_UUID"), "0:1:2:3");
    EXPECT_EQ(values.at("MD_NAME"), "any:a=b");
    EXPECT_EQ(uuid_told({.status = 0, .text = "MD_UUID=0:1:2:3\n"}), "0:1:2:3");
    EXPECT_EQ(uuid_told({.status = 1}), "");
    // Not there, not started, ended by a signal, out of memory.
    for (const ToolOutput& silent : {ToolOutput{.found = false}, ToolOutput{.whole = false},
                                     ToolOutput{}, ToolOutput{.status = 4}})
        EXPECT_THROW(uuid_told(silent), Failure);

    const auto volumes =
        report_in(R"({"report": [{"lv": [{"lv_name":"a", "lv_size":"8388608"}, {"lv_name":7}]}]})");
    ASSERT_EQ(volumes.size(), 2u);
    EXPECT_EQ(number_in(volumes[0], "lv_size"), 8388608u);
    EXPECT_EQ(text_in(volumes[1], "lv_name"), "");
    for (const char* text : {"12B", "-1", "", "99999999999999999999"})
        EXPECT_EQ(number_in({{"n", text}}, "n"), 0u) << text;
    for (const char* text : {"", "{}", R"({"report": []})", R"({"report": {"lv": 1}})"})
        EXPECT_THROW(report_in(text), Failure) << text;
}

TEST(StorageTools, LeaveTheEndOfADriveToTheTablesCopy) {
    const std::string script = layout_script((uint64_t{1000} << 20) + 700000, "G");
    EXPECT_THAT(script, HasSubstr("label-id: G\n"));
    EXPECT_THAT(script, HasSubstr("start=4MiB, size=995MiB"));
    EXPECT_THROW(layout_script(64 << 20, "G"), Failure);
    EXPECT_THROW(layout_script(0, "G"), Failure);
    EXPECT_NE(new_guid(), new_guid());
    EXPECT_EQ(new_guid().size(), 36u);
    EXPECT_EQ(new_md_uuid().size(), 35u);
}

TEST(StorageTools, LevelsGoWithTheirNumbersOfDrives) {
    EXPECT_EQ(data_members(RAID_LEVEL_JBOD, 3), 3);
    EXPECT_EQ(data_members(5, 3), 2);
    EXPECT_EQ(data_members(10, 6), 3);
    for (const auto& [level, count] : {std::pair(5, 2), {6, 3}, {10, 5}, {10, 2}, {7, 4}, {1, 0}})
        EXPECT_EQ(data_members(level, count), 0) << level << " with " << count;
}

}  // namespace
}  // namespace host
