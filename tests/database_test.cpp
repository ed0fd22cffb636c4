// Where the database lies and how it comes into being.

#include <filesystem>

#include <SQLiteCpp/SQLiteCpp.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "base/owners.h"
#include "ssd_op.h"
#include "support/appliance.h"
#include "support/crash.h"
#include "support/records.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kOnVolume = "/share/DATA_1/.Oprella/ssd_op.db";
constexpr const char* kOnSystem = "/mnt/HDA_ROOT/.config/Oprella/ssd_op.db";

void run_sql(const std::string& path, const std::string& statements) {
    fs::create_directories(fs::path(path).parent_path());
    SQLite::Database(path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE).exec(statements);
}

int location() {
    int where = -1;
    SSD_OP_DB_Get_Location(&where, nullptr, 0);
    return where;
}

/// Free space as the appliance's df says, in KiB.
void set_free_space(unsigned long long on_volume, unsigned long long on_system) {
    support::write_file(appliance::kCapacityFile, "/share/DATA_1 " + std::to_string(on_volume) +
                                                      " 0\n/mnt/HDA_ROOT " +
                                                      std::to_string(on_system) + " 0\n");
}

class Database : public support::ApplianceTest {
  protected:
    std::string value(const std::string& query) { return appliance().sql_value(query); }
    void expect_sound() { EXPECT_EQ(value("PRAGMA integrity_check"), "ok"); }
};

}  // namespace

TEST_F(Database, IsCreatedWhereMoreRoomIsAndOnTheVolumeWhenEqual) {
    const struct {
        unsigned long long on_volume, on_system;
        const char* path;
    } cases[] = {{1000, 1000, kOnVolume}, {999, 1000, kOnSystem}, {1001, 1000, kOnVolume}};
    for (const auto& each : cases) {
        appliance().renew();
        set_free_space(each.on_volume, each.on_system);
        int where = -1;
        char path[256] = "";
        EXPECT_EQ(SSD_OP_DB_Get_Location(&where, path, sizeof path), 0);
        EXPECT_EQ(where, SSD_OP_DB_LOCATION_NONE);
        EXPECT_STREQ(path, each.path);
        EXPECT_TRUE(fs::is_directory(fs::path(path).parent_path()));
        EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), 0);
        EXPECT_TRUE(support::exists(each.path));
    }
}

TEST_F(Database, GoesToTheSystemAreaWithoutAMountedVolume) {
    appliance().with([](auto& blueprint) { blueprint.data_volume_mounted = false; });
    unsigned long long used = 1;
    unsigned long long available = 1;
    EXPECT_EQ(SSD_OP_DB_Get_Location_Usage(SSD_OP_DB_LOCATION_VOLUME, &used, &available), -1);
    EXPECT_EQ(used + available, 0U);
    EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), 0);
    EXPECT_EQ(location(), SSD_OP_DB_LOCATION_SYSTEM);
    EXPECT_EQ(SSD_OP_DB_Set_Location(SSD_OP_DB_LOCATION_VOLUME), -1);

    appliance().with([](auto& blueprint) { blueprint.data_volume_mounted = true; });
    appliance().failing("Volume_Is_Mount", -1);
    EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), 0);
    EXPECT_TRUE(support::exists(kOnSystem)) << "what cannot be told is not mounted";
}

TEST_F(Database, IsFoundOnTheVolumeFirstEvenWhenEmpty) {
    run_sql(kOnSystem, "CREATE TABLE other(x)");
    EXPECT_EQ(location(), SSD_OP_DB_LOCATION_SYSTEM);
    support::write_file(kOnVolume, "");
    EXPECT_EQ(location(), SSD_OP_DB_LOCATION_VOLUME);
    char cut[8] = "";
    int where = 0;
    SSD_OP_DB_Get_Location(&where, cut, sizeof cut);
    EXPECT_STREQ(cut, "/share/");
}

TEST_F(Database, TellsUsageAndSize) {
    support::write_file(appliance::kCapacityFile, "/share/DATA_1 5000 700\n/mnt/HDA_ROOT 90 80\n");
    unsigned long long used = 0;
    unsigned long long available = 0;
    EXPECT_EQ(SSD_OP_DB_Get_Location_Usage(SSD_OP_DB_LOCATION_VOLUME, &used, &available), 0);
    EXPECT_EQ(used, 700U);
    EXPECT_EQ(available, 4300U);
    EXPECT_EQ(SSD_OP_DB_Get_Location_Usage(SSD_OP_DB_LOCATION_SYSTEM, &used, &available), 0);
    EXPECT_EQ(available, 10U);
    EXPECT_EQ(SSD_OP_DB_Get_Location_Usage(3, &used, &available), -1);
    unsigned long long size = 1;
    EXPECT_EQ(SSD_OP_DB_Get_Size(&size), 0);
    EXPECT_EQ(size, 0U);
    support::write_file(kOnSystem, std::string(2047, 'x'));
    EXPECT_EQ(SSD_OP_DB_Get_Size(&size), 0);
    EXPECT_EQ(size, 1U);
}

TEST_F(Database, MovesOnlyWhereThereIsStrictlyMoreRoom) {
    set_free_space(0, 1000);
    ASSERT_EQ(SSD_OP_DB_Query_Record_Count(), 0);
    ASSERT_EQ(location(), SSD_OP_DB_LOCATION_SYSTEM);
    unsigned long long size = 0;
    SSD_OP_DB_Get_Size(&size);
    ASSERT_GT(size, 0U);

    set_free_space(1000 + size, 1000);
    EXPECT_EQ(SSD_OP_DB_Set_Location(SSD_OP_DB_LOCATION_VOLUME), -1);
    set_free_space(1000 + size + 1, 1000);
    EXPECT_EQ(SSD_OP_DB_Set_Location(SSD_OP_DB_LOCATION_VOLUME), 0);
    EXPECT_EQ(location(), SSD_OP_DB_LOCATION_VOLUME);
    EXPECT_FALSE(support::exists(kOnSystem));
    set_free_space(0, size);
    EXPECT_EQ(SSD_OP_DB_Set_Location(SSD_OP_DB_LOCATION_SYSTEM), -1);
    set_free_space(0, size + 1);
    EXPECT_EQ(SSD_OP_DB_Set_Location(SSD_OP_DB_LOCATION_SYSTEM), 0);
    EXPECT_EQ(location(), SSD_OP_DB_LOCATION_SYSTEM);
    EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), 0);

    const int commands = appliance().journal().count("Get_Command_Result");
    EXPECT_EQ(SSD_OP_DB_Set_Location(SSD_OP_DB_LOCATION_SYSTEM), 0) << "it lies there already";
    EXPECT_EQ(SSD_OP_DB_Set_Location(SSD_OP_DB_LOCATION_NONE), -1);
    EXPECT_EQ(SSD_OP_DB_Set_Location(3), -1);
    EXPECT_EQ(appliance().journal().count("Get_Command_Result"), commands);
}

TEST_F(Database, IsLookedForAgainOnceItMayBeMoved) {
    set_free_space(0, 100'000);
    ASSERT_EQ(SSD_OP_DB_Query_Record_Count(), 0);
    set_free_space(200'000, 1);
    appliance().holding("Ini_Conf_Write_Lock_File", support::Nth(1));
    support::Child late([] { return SSD_OP_DB_Set_Location(SSD_OP_DB_LOCATION_VOLUME); });
    ASSERT_TRUE(support::eventually([&] { return appliance().holds("Ini_Conf_Write_Lock_File"); }));
    EXPECT_EQ(SSD_OP_DB_Set_Location(SSD_OP_DB_LOCATION_VOLUME), 0);
    appliance().healthy();
    EXPECT_EQ(late.wait(), support::exited(0)) << "another has moved it meanwhile";
    EXPECT_EQ(location(), SSD_OP_DB_LOCATION_VOLUME);
}

TEST_F(Database, IsNotOpenedWhileACommandMovesItForever) {
    ASSERT_EQ(SSD_OP_DB_Query_Record_Count(), 0);
    const std::string mark = std::string(kOnVolume) + ".leaving";
    fs::create_hard_link(kOnVolume, mark);
    fs::remove(kOnVolume);
    {
        const ssd_op::base::Descriptor held(::open(mark.c_str(), O_RDONLY | O_CLOEXEC));
        ASSERT_EQ(::flock(held.get(), LOCK_EX), 0);
        EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), -1);
        EXPECT_TRUE(appliance().traced("Fail to settle a move of the database."));
        EXPECT_EQ(location(), SSD_OP_DB_LOCATION_VOLUME) << "it will be there again";
    }
    EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), 0);
    EXPECT_FALSE(support::exists(mark));
}

TEST_F(Database, IsNewWithAllItsTablesAndLaterOpenedAsItIs) {
    ASSERT_EQ(SSD_OP_DB_Query_Record_Count(), 0);
    EXPECT_EQ(value("SELECT group_concat(name) FROM (SELECT name FROM sqlite_master WHERE type IN "
                    "('table', 'trigger') ORDER BY name)"),
              "DB_VERSION,RAID_GROUP,RUNTIME_REPORT,SELECT_DEV,SSD_DEV,SSD_RUNTIME_DATA,TEST_DATA,"
              "TEST_RECORD,test_record_trigger");
    EXPECT_EQ(value("SELECT version FROM DB_VERSION"), "6");
    EXPECT_EQ(value("PRAGMA page_size"), "2048");
    EXPECT_NE(value("SELECT sql FROM sqlite_master WHERE type = 'trigger'")
                  .find("WHEN 30 < (SELECT COUNT() FROM TEST_RECORD)"),
              std::string::npos);
    EXPECT_TRUE(appliance().traced("database(" + std::string(kOnVolume) + ") is not exist."));
    run_sql(kOnVolume, "CREATE TABLE mine(x)");
    EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), 0);
    EXPECT_EQ(value("SELECT count(*) FROM sqlite_master WHERE name = 'mine'"), "1");

    support::write_file(kOnVolume, "");
    EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), 0) << "an empty file is made anew";
}

TEST_F(Database, ThatIsBrokenIsLeftAloneAndReported) {
    const std::string garbage(5000, 'x');
    support::write_file(kOnVolume, garbage);
    EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), -1);
    EXPECT_TRUE(appliance().traced("SSD_OP_DB_Query_Record_Count: Fail to execute sql(select)."));
    EXPECT_EQ(SSD_OP_DB_Version_Upgrade(), 0) << "nothing is known of its version";
    EXPECT_EQ(support::read_file(kOnVolume), garbage);
}

TEST_F(Database, ThatCannotBeOpenedOrPlacedIsReported) {
    fs::create_directories(kOnVolume);
    EXPECT_EQ(SSD_OP_DB_Update_Record_Status(1, 1), -1);
    EXPECT_TRUE(appliance().traced("SSD_OP_DB_Update_Record_Status: Fail to open database."));

    fs::remove_all("/share/DATA_1/.Oprella");
    support::write_file("/share/DATA_1/.Oprella", "in the way");
    EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), -1);
    EXPECT_TRUE(appliance().traced("ssd_op_db_open: Fail to get database name."));
}

TEST_F(Database, IsWholeOrMissingWhereverItsCreationIsKilled) {
    const int kills = support::kill_at_every_change(
        "ssd_op.db", [] { fs::remove_all("/share/DATA_1/.Oprella"); },
        [] { SSD_OP_DB_Query_Record_Count(); },
        [&] {
            if (support::exists(kOnVolume)) {
                EXPECT_EQ(value("SELECT version FROM DB_VERSION"), "6");
            }
            EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), 0);
            expect_sound();
            EXPECT_FALSE(support::exists(std::string(kOnVolume) + ".new"));
        });
    EXPECT_GT(kills, 5) << "the test did not reach into the creation";
}
