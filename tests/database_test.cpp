// Where the database lies, how it comes into being, and its way between versions.

#include <filesystem>

#include <SQLiteCpp/SQLiteCpp.h>
#include <signal.h>
#include <unistd.h>

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

TEST_F(Database, TakesWhatAKilledProcessLeftUndoneAlongWhenItMoves) {
    set_free_space(0, 100'000);
    ASSERT_EQ(SSD_OP_DB_Query_Record_Count(), 0);
    run_sql(kOnSystem,
            "WITH RECURSIVE n(i) AS (VALUES(1) UNION ALL SELECT i + 1 FROM n WHERE i < 3000) "
            "INSERT INTO RUNTIME_REPORT SELECT 10, i, 1, '1', 1 FROM n");
    const auto killed = support::in_child([] {
        SQLite::Database database(kOnSystem, SQLite::OPEN_READWRITE);
        // A cache this small makes the change reach the file before it is committed.
        database.exec("PRAGMA cache_size = 1; BEGIN; UPDATE RUNTIME_REPORT SET result = 2");
        return ::raise(SIGKILL);
    });
    ASSERT_EQ(killed, support::killed(SIGKILL));
    ASSERT_TRUE(support::exists(std::string(kOnSystem) + "-journal"));
    set_free_space(200'000, 1);
    EXPECT_EQ(SSD_OP_DB_Set_Location(SSD_OP_DB_LOCATION_VOLUME), 0);
    EXPECT_EQ(value("SELECT sum(result) FROM RUNTIME_REPORT"), "3000");
    expect_sound();
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

// ---- Versions ----

namespace {

/// The tables as those versions created them, with one completed record of two drives.
std::string database_of_version(int version) {
    const std::string title = version == 2 ? "name" : "title";
    const std::string later_record =
        std::string(version >= 4 ? ", stop_service INTEGER, lv_size TEXT, test_size TEXT" : "") +
        (version >= 5 ? ", nas_cpu_info TEXT, nas_mem_info TEXT, nas_serial_no TEXT" : "");
    const std::string figures =
        version >= 4 ? ", performance_write_r TEXT, performance_write_s TEXT, performance_read_r "
                       "TEXT, performance_read_s TEXT"
                     : "";
    return "CREATE TABLE SSD_DEV(ssd_no INTEGER, vendor TEXT, model TEXT, serial_no TEXT, capacity "
           "TEXT, revision TEXT, PRIMARY KEY(ssd_no), UNIQUE(vendor, model, serial_no));"
           "CREATE TABLE TEST_RECORD(record_no INTEGER, nas_model TEXT, nas_fw_version TEXT, " +
           title +
           " TEXT, start_time INTEGER, end_time INTEGER, status INTEGER, sequential INTEGER, "
           "min_op INTEGER, max_op INTEGER, interval INTEGER" +
           later_record +
           ", PRIMARY KEY(record_no));"
           "CREATE TABLE RAID_GROUP(raid_no INTEGER, raid_id INTEGER, raid_type INTEGER, "
           "raid_capacity INTEGER, f_record_no INTEGER, PRIMARY KEY(raid_no), CONSTRAINT "
           "record_constraint FOREIGN KEY(f_record_no) REFERENCES TEST_RECORD(record_no));"
           "CREATE TABLE SELECT_DEV(f_ssd_no INTEGER, f_raid_no INTEGER, dev_id INTEGER, bus_type "
           "TEXT" +
           figures +
           ");"
           "CREATE TABLE TEST_DATA(percentage INTEGER, result_1 TEXT, result_2 TEXT, f_record_no "
           "INTEGER);"
           "CREATE TABLE RUNTIME_REPORT(percentage INTEGER, time_slap TEXT, result INTEGER, "
           "f_record_no INTEGER" +
           std::string(version >= 4 ? ", write_amount TEXT" : "") +
           ");"
           "CREATE TABLE DB_VERSION(version INTEGER);"
           "CREATE TRIGGER test_record_trigger AFTER UPDATE     ON TEST_RECORD WHEN 12 < (SELECT "
           "COUNT() FROM TEST_RECORD)     BEGIN     DELETE FROM TEST_RECORD WHERE record_no IN     "
           "(SELECT record_no FROM TEST_RECORD ORDER BY record_no ASC      LIMIT (SELECT COUNT() "
           "FROM TEST_RECORD)-12);     END;"
           "INSERT INTO DB_VERSION VALUES(" +
           std::to_string(version) +
           ");"
           "INSERT INTO TEST_RECORD(record_no, nas_model, " +
           title +
           ", start_time, status, min_op, max_op, interval) VALUES(7, 'Rack', 'Bob''s', "
           "1600000000, 4, 0, 20, 10);"
           "INSERT INTO RAID_GROUP VALUES(1, 800, 5, 4096, 7);"
           "INSERT INTO SSD_DEV VALUES(1, 'Norwell', 'NS510', 'A', '64', '1'), (2, 'Norwell', "
           "'NS510', 'B', '64', '1');"
           "INSERT INTO SELECT_DEV(f_ssd_no, f_raid_no, dev_id, bus_type) VALUES(1, 1, 65537, "
           "'SATA'), (2, 1, 65538, 'SATA');"
           "INSERT INTO RUNTIME_REPORT(percentage, time_slap, result, f_record_no) VALUES(10, "
           "'1000', 42, 7);";
}

void install_version(int version) {
    fs::remove_all(fs::path(kOnVolume).parent_path());
    run_sql(kOnVolume, database_of_version(version));
}

class Versions : public Database {
  protected:
    void expect_the_record() {
        const support::Record record = support::read_record(7);
        EXPECT_STREQ(record->title, "Bob's");
        EXPECT_STREQ(record->nas_model, "Rack");
        EXPECT_EQ(record->start_time, 1'600'000'000);
        EXPECT_EQ(record->max_op, 20);
        ASSERT_NE(record->raid_conf, nullptr);
        EXPECT_EQ(record->raid_conf->ssd_drive_num, 2);
        EXPECT_EQ(record->raid_conf->ssd_drives[1].dev_id, 65538U);
        EXPECT_EQ(SSD_OP_DB_Query_Record_Runtime_Report(record.get(), 7, 10, 1), 0);
        ASSERT_NE(record->runtime_report, nullptr);
        EXPECT_EQ(record->runtime_report->result, 42);
    }
    void expect_version_6() {
        EXPECT_EQ(value("SELECT version FROM DB_VERSION"), "6");
        EXPECT_EQ(value("SELECT count(*) FROM sqlite_master WHERE sql LIKE '%_OLD%'"), "0")
            << "a foreign key follows a table that is gone";
        EXPECT_NE(value("SELECT sql FROM sqlite_master WHERE type = 'trigger'").find("WHEN 12 <"),
                  std::string::npos)
            << "the record limit is lost";
        expect_sound();
    }
};

}  // namespace

TEST_F(Versions, AreBroughtUpWithTheirRecords) {
    for (const int version : {2, 3, 4, 5}) {
        SCOPED_TRACE(version);
        install_version(version);
        EXPECT_EQ(SSD_OP_DB_Version_Upgrade(), 0);
        expect_version_6();
        expect_the_record();
        // It is a database like any other now.
        EXPECT_GT(SSD_OP_DB_Query_SSD_Select_No(7, 800, 65538), 0);
        EXPECT_EQ(support::store_record("new", {appliance::drive_id(0)}), 8);
        EXPECT_STREQ(support::read_record(8)->title, "new");
    }
    install_version(2);
    SSD_OP_DB_Version_Upgrade();
    EXPECT_EQ(value("SELECT nas_cpu_info || lv_size FROM TEST_RECORD"), "--0");
    install_version(3);
    run_sql(kOnVolume, "ALTER TABLE TEST_RECORD ADD COLUMN lv_size TEXT DEFAULT '0'");
    EXPECT_EQ(SSD_OP_DB_Version_Upgrade(), 0) << "one of the new columns was there";
    EXPECT_TRUE(appliance().traced("sql_db_ver_callback_3: The filed already exist."));
    expect_version_6();
}

TEST_F(Versions, KeepRecordsOnTheWayDownAndUpAgain) {
    ASSERT_EQ(support::store_record("Bob's", {appliance::drive_id(0)}), 1);
    EXPECT_EQ(SSD_OP_DB_Version_Downgrade(2), 0);
    EXPECT_EQ(value("SELECT version FROM DB_VERSION"), "2");
    EXPECT_EQ(value("SELECT group_concat(name) FROM pragma_table_info('TEST_RECORD')"),
              "record_no,nas_model,nas_fw_version,name,start_time,end_time,status,sequential,"
              "min_op,max_op,interval");
    EXPECT_EQ(value("SELECT name FROM TEST_RECORD"), "Bob's");
    EXPECT_EQ(value("SELECT count(*) FROM pragma_table_info('SELECT_DEV')"), "8");
    EXPECT_EQ(value("SELECT count(*) FROM SELECT_DEV"), "1");
    EXPECT_EQ(SSD_OP_DB_Version_Upgrade(), 0);
    const support::Record record = support::read_record(1);
    EXPECT_STREQ(record->title, "Bob's");
    ASSERT_NE(record->raid_conf, nullptr);
    EXPECT_EQ(record->raid_conf->ssd_drives[0].dev_id, appliance::drive_id(0));
    EXPECT_EQ(value("SELECT version FROM DB_VERSION"), "6");
    EXPECT_EQ(value("SELECT count(*) FROM sqlite_master WHERE name = 'test_record_trigger'"), "1");
}

TEST_F(Versions, BeforeTheSecondStartAnew) {
    for (const int version : {0, 1}) {
        install_version(version);
        EXPECT_EQ(SSD_OP_DB_Version_Upgrade(), 0);
        EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), 0);
        EXPECT_EQ(value("SELECT version FROM DB_VERSION"), "6");
        EXPECT_EQ(value("SELECT count(*) FROM DB_VERSION"), "1");
    }
}

TEST_F(Versions, ThatNeedNoChangeGetNone) {
    ASSERT_EQ(support::store_record("kept", {appliance::drive_id(0)}), 1);
    const std::string before = support::read_file(kOnVolume);
    EXPECT_EQ(SSD_OP_DB_Version_Upgrade(), 0);
    EXPECT_EQ(SSD_OP_DB_Version_Downgrade(6), 0);
    EXPECT_EQ(SSD_OP_DB_Version_Downgrade(9), 0);
    EXPECT_EQ(SSD_OP_DB_Version_Downgrade(-1), -1);
    EXPECT_EQ(support::read_file(kOnVolume), before);
    run_sql(kOnVolume, "DROP TABLE DB_VERSION");
    EXPECT_EQ(SSD_OP_DB_Version_Upgrade(), 0);
    EXPECT_EQ(SSD_OP_DB_Version_Downgrade(2), 0);
    EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), 1);
}

TEST_F(Versions, TakeUpAnUpgradeWhereverItWasKilled) {
    const int kills = support::kill_at_every_change(
        "ssd_op.db", [] { install_version(5); }, [] { SSD_OP_DB_Version_Upgrade(); },
        [&] {
            EXPECT_EQ(SSD_OP_DB_Version_Upgrade(), 0);
            expect_version_6();
            expect_the_record();
        });
    EXPECT_GT(kills, 10) << "the test did not reach into the upgrade";
}
