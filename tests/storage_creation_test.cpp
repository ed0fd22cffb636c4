// Preparing the drives of an evaluation and making its storage.

#include <cstdlib>
#include <set>

#include <gmock/gmock.h>
#include <unistd.h>

#include "core/state.h"
#include "support/appliance.h"
#include "support/evaluation.h"
#include "support/fault_loop.h"

namespace {

using namespace support;
using ::testing::IsEmpty;

constexpr int kInitiating = SSD_OP_TEST_STATUS_INITIATING;

class StorageCreation : public ApplianceTest {
  protected:
    int create(Groups& groups, ssd_op_db_record& record, uint64_t test_size = 0) {
        ssd_op_test_param param = request(0, 20, 10);
        param.test_size = test_size;
        return SSD_OP_Test_Create_Storage(groups.list(), 0, &param, &record);
    }

    /// What the platform knows of a creation that is over.
    void expect_nothing_pending(const std::string& where) {
        EXPECT_FALSE(exists("/tmp/cv_initializing.tmp")) << where;
        EXPECT_EQ(state_rows("speed_down"), 0) << where;
    }

    static int state_rows(const std::string& table) {
        return appliance::state().execAndGet("SELECT COUNT(*) FROM " + table).getInt();
    }
};

TEST(CheckRaid, FitsEachLevelToItsNumberOfDrives) {
    const std::set<int> levels{-2, 0, 1, 5, 6, 10};
    const std::vector<std::pair<int, std::set<int>>> rules{
        {1, {1}}, {2, {0, 1}}, {3, {0, 5}}, {4, {0, 5, 6, 10}}, {5, {0, 5, 6}}, {8, {0, 5, 6, 10}}};
    for (const auto& [members, allowed] : rules) {
        for (const int level : levels) {
            Groups groups(level, {});
            groups[0].drive_num = members;
            EXPECT_EQ(SSD_OP_Test_Check_RAID(groups.list()), allowed.contains(level) ? 0 : -13)
                << members << " drives at level " << level;
        }
    }
    EXPECT_EQ(SSD_OP_Test_Check_RAID(nullptr), -13);
    EXPECT_EQ(SSD_OP_Test_Create_Storage(nullptr, 0, nullptr, nullptr), -13);
}

TEST(CheckRaid, RejectsListsThatAreNone) {
    Groups circle(5, {0, 1, 2});
    circle[0].next = circle.list();
    EXPECT_EQ(SSD_OP_Test_Check_RAID(circle.list()), -13);
    for (const int count : {-1, -4, RAID_MAX_DRIVES + 1}) {
        Groups groups(5, {});
        groups[0].drive_num = count;
        EXPECT_EQ(SSD_OP_Test_Check_RAID(groups.list()), -13) << count;
    }
}

TEST_F(StorageCreation, MeasuresTheDrivesAndStoresTheSizes) {
    Groups groups(5, {0, 1, 2}, {3});
    groups.numbered(800);
    const Record record = new_record(groups, kInitiating);
    const int lv_id = create(groups, *record);
    ASSERT_GE(lv_id, 1568) << appliance().journal();

    const Record stored = read_record(record->record_no);
    ASSERT_EQ(stored->record_no, record->record_no);
    uint64_t sectors = 0;
    LV_Get_Size(lv_id, &sectors);
    EXPECT_EQ(stored->lv_size, sectors / 2048);
    EXPECT_EQ(stored->test_size, stored->lv_size);
    EXPECT_EQ(record->test_size, stored->lv_size);
    EXPECT_GT(stored->raid_conf->raid_capacity, 0U);
    EXPECT_EQ(record->raid_conf->raid_capacity, stored->raid_conf->raid_capacity);
    for (int i = 0; i < 3; ++i) {
        const ssd_op_db_ssd_dev& drive = stored->raid_conf->ssd_drives[i];
        EXPECT_GT(drive.performance_read_s, 0U) << i;
        EXPECT_GT(drive.performance_write_s, 0U) << i;
        EXPECT_GT(drive.performance_read_r, 0U) << i;
        EXPECT_GT(drive.performance_write_r, 0U) << i;
        EXPECT_EQ(drive.performance_write_r, record->raid_conf->ssd_drives[i].performance_write_r);
    }
    // The spare is prepared like a member.
    EXPECT_EQ(appliance().journal().count("Disk_Read_Performance_Test"), 8);
    EXPECT_EQ(appliance().journal().count("kblkdiscard"), 8) << appliance().journal();
    expect_nothing_pending("after success");
    EXPECT_FALSE(appliance().journal().shows("services.sh"));
}

TEST_F(StorageCreation, MeasuresDrivesWithoutPartitionsAsAWhole) {
    appliance().with([](appliance::Blueprint& blueprint) { blueprint.drive.partitioned = false; });
    Groups groups(1, {0, 1});
    groups.numbered(800);
    const Record record = new_record(groups, kInitiating);
    ASSERT_GE(create(groups, *record), 1568) << appliance().journal();
    EXPECT_FALSE(appliance().traced("Fail to do")) << appliance().journal();
    EXPECT_TRUE(appliance().journal().shows("fio", "--filename=/dev/sdb --direct=1 --rw=write"));
    EXPECT_GT(record->raid_conf->ssd_drives[1].performance_write_s, 10'000U);
}

TEST_F(StorageCreation, InitialisesOutdatedLayoutsAndStopsServicesFirst) {
    appliance().with([](appliance::Blueprint& blueprint) {
        blueprint.others[1] = blueprint.drive;
        blueprint.others[1].meta_type = 3;
    });
    appliance().failing("Disk_Read_Performance_Test", 0).failing("Disk_Write_Performance_Test", 0);
    Groups groups(1, {0, 1});
    groups.numbered(801);
    const Record record = new_record(groups, kInitiating, 1);
    ASSERT_GE(create(groups, *record, 512), 0) << appliance().journal();
    const Journal journal = appliance().journal();
    EXPECT_TRUE(journal.shows("NAS_Disk_Fast_Init", Times(1))) << journal;
    EXPECT_TRUE(journal.shows_in_order({"services.sh", "rsyncd.sh", "kblkdiscard"})) << journal;
    EXPECT_FALSE(appliance().service_runs("services"));
    int pid = 0;
    EXPECT_EQ(SSD_OP_Test_Get_Stop_Service_PID(record->record_no, &pid), 0);
    EXPECT_GT(pid, 0);
    EXPECT_THAT(children(), IsEmpty());
    EXPECT_EQ(record->test_size, 0U) << "the request's own size is the driver's to store";
}

TEST_F(StorageCreation, EndsAtTheNextCheckpointOfAStop) {
    Groups groups(1, {0, 1});
    groups.numbered(800);
    const Record record = new_record(groups, kInitiating);
    // A look at the progress costs the stopping process less than a measurement costs this one.
    Child stopper([&] {
        int progress = 0;
        eventually([&] {
            SSD_OP_Test_Get_Step_Progress(record->record_no, &progress);
            return progress >= 39;
        });
        // The status alone: the progress is the creation's, until it returns.
        return SSD_OP_DB_Update_Record_Status(SSD_OP_TEST_STATUS_STOPPED, record->record_no);
    });
    EXPECT_EQ(create(groups, *record), -1);
    EXPECT_EQ(stopper.wait(), exited(0));
    EXPECT_THAT(appliance().pools(), IsEmpty());
    EXPECT_TRUE(appliance().traced("SSD_OP_Test_Create_Storage: Testing is stopped["));
    EXPECT_LT(appliance().journal().count("Disk_Write_Performance_Test"), 4);
    expect_nothing_pending("after a stop");
    int progress = 0;
    SSD_OP_Test_Get_Step_Progress(record->record_no, &progress);
    EXPECT_EQ(progress, 100);
}

/// Whatever call fails: no crash, nothing pending, and either a volume or no storage at all.
TEST_F(StorageCreation, HoldsItsPromisesWhateverCallFails) {
    Groups groups(1, {0, 1});
    groups.numbered(800);
    Record record;
    int result = 0;
    const auto before = [&] {
        // The measurements themselves are not the subject here.
        appliance().renew();
        measure_at_once(appliance());
        record = new_record(groups, kInitiating);
    };
    const auto after = [&](const std::string& failed) {
        SCOPED_TRACE("with a failed " + failed);
        // What is withdrawn by a failed call is not withdrawn, of course.
        if (!failed.starts_with("RAID_Force_Speed_Down_Remove")) expect_nothing_pending(failed);
        const std::set<int> failures{-1, -15, -24};
        EXPECT_TRUE(result >= 1568 || failures.contains(result)) << result;
        if (result < 0) {
            EXPECT_THAT(appliance().volumes(), IsEmpty());
        }
        if (result == -24 && !failed.starts_with("NAS_Pool_Remove")) {
            EXPECT_THAT(appliance().pools(), IsEmpty());
        }
        EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), 1);
        int progress = 0;
        SSD_OP_Test_Get_Step_Progress(record->record_no, &progress);
        EXPECT_TRUE(progress == 100 || failed.starts_with("Ini_Conf")) << progress;
    };
    const int met = fail_at_every_call(appliance(), 2,
                                       {before, [&] { result = create(groups, *record); }, after});
    EXPECT_GT(met, 30);
}

TEST_F(StorageCreation, RemovalReportsWhatIsMissingAndCleansUpBehindAFailure) {
    EXPECT_EQ(SSD_OP_Test_Remove_Storage(1568, 0), -12);
    Groups groups(1, {0, 1});
    groups.numbered(800);
    const int lv_id = make_storage(groups);

    appliance().failing("LV_Get_Pool_Id", -1);
    EXPECT_EQ(SSD_OP_Test_Remove_Storage(lv_id, 0), -50);
    appliance().healthy().failing("LV_Destroy", 7);
    EXPECT_EQ(SSD_OP_Test_Remove_Storage(lv_id, 0), 7);
    EXPECT_FALSE(exists("/tmp/cv_removing.tmp"));
    EXPECT_EQ(state_rows("speed_down"), 0);
    EXPECT_EQ(appliance().pools().size(), 1U);

    appliance().healthy();
    const pid_t caller = ::getpid();
    const int result = SSD_OP_Test_Remove_Storage(lv_id, 1);
    if (::getpid() != caller) std::_Exit(0);
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(eventually([&] { return appliance().pools().empty(); }));
}

}  // namespace
