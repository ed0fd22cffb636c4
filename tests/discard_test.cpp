// Giving blocks back to the drives: what the discard tool is told, and when it is given up.

#include "evaluation/drives/discard.h"

#include <algorithm>

#include <gmock/gmock.h>
#include <signal.h>

#include "support/appliance.h"
#include "support/evaluation.h"

namespace {

using namespace support;

class Discard : public ApplianceTest {
  protected:
    /// A test under way on these groups.
    int begin_test(Groups& groups) {
        groups.numbered(800);
        const int lv_id = make_storage(groups);
        const Record record = new_record(groups, SSD_OP_TEST_STATUS_TESTING);
        uint64_t sectors = 0;
        LV_Get_Size(lv_id, &sectors);
        SSD_OP_DB_Update_Record_LV_Size(sectors / 2048, record->record_no);
        record_no_ = record->record_no;
        volume_ = volume_name(lv_id);
        lv_id_ = lv_id;
        sectors_ = sectors;
        return lv_id;
    }
    int set_ratio(int ratio) {
        return SSD_OP_Test_Block_Discard_Device(record_no_, volume_.c_str(), ratio);
    }
    uint64_t sectors_now() const {
        uint64_t sectors = 0;
        LV_Get_Size(lv_id_, &sectors);
        return sectors;
    }
    /// A drive's data partition in MiB, as the tool counts.
    static uint64_t partition_mib(int position) {
        PART_INFO info{};
        Part_Get_Info(appliance::kEnclosure, static_cast<int>(appliance::kFirstPort) + position, 3,
                      &info);
        return info.size_kib >> 10;
    }
    static std::string range(uint64_t offset, uint64_t length) {
        return "-p 512 -o " + std::to_string(offset) + " -l " + std::to_string(length);
    }

    int record_no_ = 0;
    int lv_id_ = -1;
    uint64_t sectors_ = 0;
    std::string volume_;
};

TEST_F(Discard, ParityGroupsAreCutOnTheirDrives) {
    Groups groups(5, {0, 1, 2});
    begin_test(groups);
    const uint64_t base = partition_mib(0);

    ASSERT_EQ(set_ratio(0), 0) << appliance().journal();
    EXPECT_EQ(appliance().journal().count("Get_Command_Result", range(16, base - 32)), 3);
    EXPECT_EQ(sectors_now(), sectors_);

    ASSERT_EQ(set_ratio(30), 0);
    const uint64_t offset = base * 70 / 100;
    EXPECT_EQ(appliance().journal().count("Get_Command_Result", range(offset, base - 16 - offset)),
              3)
        << appliance().journal();
    EXPECT_EQ(appliance().journal().count("Get_Command_Result",
                                          "-o " + std::to_string(offset) + " -l 1 "),
              3);
    EXPECT_NEAR(static_cast<double>(sectors_now()), static_cast<double>(sectors_) * 0.7,
                static_cast<double>(sectors_) * 0.01);
}

TEST_F(Discard, TheSmallestPartitionOfAllStripedGroupsSetsTheRange) {
    appliance().with([](appliance::Blueprint& blueprint) {
        blueprint.drives = 6;
        blueprint.others[4] = blueprint.drive;
        blueprint.others[4].size_gb = 32;
        blueprint.others[5] = blueprint.drive;
        blueprint.others[5].flags = 0;
    });
    Groups groups(5, {0, 1, 2});
    groups.add(5, {3, 4, 5});
    begin_test(groups);
    ASSERT_EQ(set_ratio(20), 0) << appliance().journal();
    const uint64_t base = partition_mib(4);
    const uint64_t offset = base * 80 / 100;
    EXPECT_LT(base, partition_mib(0));
    // All at once, and not the drive that is no SSD.
    EXPECT_EQ(appliance().journal().count("Get_Command_Result", range(offset, base - 16 - offset)),
              5)
        << appliance().journal();
}

TEST_F(Discard, OtherGroupsAreDiscardedOnceThroughTheVolume) {
    Groups groups(1, {0, 1});
    groups.add(1, {2, 3});
    begin_test(groups);
    ASSERT_EQ(set_ratio(25), 0) << appliance().journal();
    const Journal journal = appliance().journal();
    EXPECT_TRUE(journal.shows("kblkdiscard", Times(1))) << journal;
    EXPECT_TRUE(journal.shows("Get_Command_Result", "/sbin/kblkdiscard " + volume_ + " -o " +
                                                        std::to_string(sectors_now() / 2048) +
                                                        " -p 512 &>/dev/null 2>>/dev/null"))
        << journal;
}

TEST_F(Discard, ADiscardThatDoesNotEndIsKilled) {
    appliance().with([](appliance::Blueprint& blueprint) { blueprint.drive.size_gb = 16; });
    Groups groups(5, {0, 1, 2});
    begin_test(groups);
    // Each of three drives has a run that is waited for and one in the background. Whatever the
    // order in which they start, the sixth is one in the background.
    appliance().slow("kblkdiscard", kEveryUse, 100);
    appliance().slow("kblkdiscard", Nth(6), 36'000'000);
    EXPECT_EQ(set_ratio(10), -1);
    EXPECT_TRUE(appliance().traced("kblkdiscard timeout! Kill the processes! finish(0)"));
    EXPECT_TRUE(appliance().journal().shows("Get_Command_Result", "/bin/kill -9 "));
    // A killed process is in the list for a moment more.
    EXPECT_TRUE(eventually(
        [] {
            const auto all = processes();
            return std::none_of(all.begin(), all.end(), [](const ProcessInfo& process) {
                return process.command.find("/sbin/kblkdiscard") != std::string::npos;
            });
        },
        600));
}

/// The tool at work on a whole device, for ever.
class DeviceDiscard {
  public:
    explicit DeviceDiscard(const std::string& device)
        : process_([&] { return exec_as("/sbin/kblkdiscard " + device + " -p 512"); }) {
        EXPECT_TRUE(eventually([&] {
            return shell("/bin/ps --columns 128").output.find(device + " -p") != std::string::npos;
        }));
    }
    bool running() { return process_.running(); }

  private:
    Child process_;
};

TEST_F(Discard, OfALongerNameIsNeitherWaitedForNorKilled) {
    const ssd_op::evaluation::RequestedDrive drive{appliance::drive_id(0), false};
    const auto wait = [&] { return ssd_op::evaluation::discards_end("test", {&drive, 1}, 4); };
    DeviceDiscard other("/dev/sdaa");
    EXPECT_TRUE(wait());
    DeviceDiscard own("/dev/sda");
    EXPECT_FALSE(wait());
    EXPECT_TRUE(eventually([&] { return !own.running(); }));
    EXPECT_TRUE(other.running());
}

TEST_F(Discard, ADeviceWithoutANameIsNotDiscarded) {
    Groups groups(5, {0, 1, 2});
    begin_test(groups);
    appliance().failing("Part_Get_Name", 0);
    EXPECT_NE(set_ratio(10), 0);
    EXPECT_FALSE(appliance().journal().shows("kblkdiscard"));
}

TEST_F(Discard, ADriveTooSmallToBeSureOfIsATimeout) {
    appliance().with([](appliance::Blueprint& blueprint) { blueprint.drive.size_gb = 2; });
    Groups groups(5, {0, 1, 2});
    begin_test(groups);
    ASSERT_LT(partition_mib(0), 2048U);
    EXPECT_EQ(set_ratio(50), -1);
    EXPECT_TRUE(appliance().traced("kblkdiscard timeout! Kill the processes! finish("));
}

TEST_F(Discard, AStoppedOrUnknownTestIsLeftAlone) {
    Groups groups(6, {0, 1, 2, 3});
    begin_test(groups);
    EXPECT_EQ(SSD_OP_Test_Block_Discard_Device(record_no_, "/dev/mapper/none", 10), -1);
    EXPECT_EQ(SSD_OP_Test_Block_Discard_Device(record_no_ + 1, volume_.c_str(), 10), -1);
    EXPECT_EQ(set_ratio(-1), -1);
    EXPECT_EQ(set_ratio(101), -1);
    SSD_OP_Test_Set_Status(record_no_, SSD_OP_TEST_STATUS_STOPPED);
    EXPECT_EQ(set_ratio(10), -1);
    EXPECT_TRUE(appliance().traced("[LV(" + volume_ + ")] Testing is stopped."));
    EXPECT_FALSE(appliance().journal().shows("kblkdiscard"));
    EXPECT_EQ(sectors_now(), sectors_);
}

TEST_F(Discard, FailedRunsAreReportedAndStopNothing) {
    Groups groups(5, {0, 1, 2});
    begin_test(groups);
    appliance().failing("kblkdiscard", Nth(1), 3);
    EXPECT_EQ(set_ratio(10), 3);
    EXPECT_LT(sectors_now(), sectors_);
    EXPECT_TRUE(appliance().journal().shows("kblkdiscard", Times(6)));
}

}  // namespace
