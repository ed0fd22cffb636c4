// The database's way between versions: what older ones hold is kept, wherever the way is broken
// off.

#include <filesystem>

#include <SQLiteCpp/SQLiteCpp.h>

#include "ssd_op.h"
#include "support/appliance.h"
#include "support/crash.h"
#include "support/records.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kDatabase = "/share/DATA_1/.Oprella/ssd_op.db";

/// Where RUNTIME_REPORT has its column write_amount: a database that was created with it has it
/// inside, one that was upgraded at the end.
enum class Form { kCreated, kUpgraded };

std::string if_from(int version, int first, const std::string& columns) {
    return version >= first ? columns : "";
}

/// The tables as a version created them.
std::string tables_of(int version, Form form) {
    const std::string amount = if_from(version, 4, ", write_amount TEXT");
    const std::string report = form == Form::kCreated ? amount + ", f_record_no INTEGER"
                                                      : ", f_record_no INTEGER" + amount;
    return "CREATE TABLE SSD_DEV(ssd_no INTEGER, vendor TEXT, model TEXT, serial_no TEXT, capacity "
           "TEXT" +
           if_from(version, 1, ", revision TEXT") +
           ", PRIMARY KEY(ssd_no), UNIQUE(vendor, model, serial_no));"
           "CREATE TABLE TEST_RECORD(record_no INTEGER, nas_model TEXT, nas_fw_version TEXT, " +
           (version <= 2 ? "name" : "title") +
           " TEXT, start_time INTEGER, end_time INTEGER, status INTEGER, sequential INTEGER, "
           "min_op INTEGER, max_op INTEGER, interval INTEGER" +
           if_from(version, 4, ", stop_service INTEGER, lv_size TEXT, test_size TEXT") +
           if_from(version, 5, ", nas_cpu_info TEXT, nas_mem_info TEXT, nas_serial_no TEXT") +
           ", PRIMARY KEY(record_no));"
           "CREATE TABLE RAID_GROUP(raid_no INTEGER, raid_id INTEGER, raid_type INTEGER, "
           "raid_capacity INTEGER, f_record_no INTEGER, PRIMARY KEY(raid_no), CONSTRAINT "
           "record_constraint FOREIGN KEY(f_record_no) REFERENCES TEST_RECORD(record_no));"
           "CREATE TABLE SELECT_DEV(f_ssd_no INTEGER, f_raid_no INTEGER, dev_id INTEGER, bus_type "
           "TEXT" +
           if_from(version, 4,
                   ", performance_write_r TEXT, performance_write_s TEXT, performance_read_r TEXT, "
                   "performance_read_s TEXT") +
           ", CONSTRAINT ssd_constraint FOREIGN KEY(f_ssd_no) REFERENCES SSD_DEV(ssd_no), "
           "CONSTRAINT raid_constraint FOREIGN KEY(f_raid_no) REFERENCES RAID_GROUP(raid_no));"
           "CREATE TABLE TEST_DATA(percentage INTEGER, result_1 TEXT, result_2 TEXT, f_record_no "
           "INTEGER, CONSTRAINT record_constraint FOREIGN KEY(f_record_no) REFERENCES "
           "TEST_RECORD(record_no));"
           "CREATE TABLE RUNTIME_REPORT(percentage INTEGER, time_slap TEXT, result INTEGER" +
           report +
           ");"
           "CREATE TABLE DB_VERSION(version INTEGER);"
           "CREATE TRIGGER test_record_trigger AFTER UPDATE     ON TEST_RECORD WHEN 12 < (SELECT "
           "COUNT() FROM TEST_RECORD)     BEGIN     DELETE FROM TEST_RECORD WHERE record_no IN     "
           "(SELECT record_no FROM TEST_RECORD ORDER BY record_no ASC      LIMIT (SELECT COUNT() "
           "FROM TEST_RECORD)-12);     END;";
}

/// Record 7 of two drives, with a result and two samples; record 9 without anything.
std::string rows_of(int version) {
    const std::string title = version <= 2 ? "name" : "title";
    return "INSERT INTO DB_VERSION VALUES(" + std::to_string(version) +
           ");"
           "INSERT INTO TEST_RECORD(record_no, nas_model, " +
           title +
           ", start_time, status, min_op, max_op, interval) VALUES(7, 'Rack', 'Bob''s', "
           "1600000000, 4, 0, 20, 10), (9, 'Rack', 'late', 1600000001, -1, 0, 0, 1);"
           "INSERT INTO RAID_GROUP VALUES(1, 800, 5, 4096, 7);"
           "INSERT INTO SSD_DEV(ssd_no, vendor, model, serial_no, capacity) VALUES(1, 'Norwell', "
           "'NS510', 'A', '64'), (2, 'Norwell', 'NS510', 'B', '64');"
           "INSERT INTO SELECT_DEV(f_ssd_no, f_raid_no, dev_id, bus_type) VALUES(1, 1, 65537, "
           "'SATA'), (2, 1, 65538, 'SATA');" +
           if_from(version, 4, "UPDATE SELECT_DEV SET performance_read_r = '77';") +
           "INSERT INTO TEST_DATA VALUES(10, '1.5', '4321.25', 7);"
           "INSERT INTO RUNTIME_REPORT(percentage, time_slap, result, f_record_no) VALUES(10, "
           "'1000', 42, 7), (10, '2000', 43, 7);" +
           if_from(version, 4, "UPDATE RUNTIME_REPORT SET write_amount = '88';");
}

void run_sql(const std::string& statements) {
    SQLite::Database(kDatabase, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE).exec(statements);
}

void install(int version, Form form = Form::kUpgraded) {
    fs::remove_all(fs::path(kDatabase).parent_path());
    fs::create_directories(fs::path(kDatabase).parent_path());
    run_sql("BEGIN;" + tables_of(version, form) + rows_of(version) + "COMMIT");
}

class Versions : public support::ApplianceTest {
  protected:
    std::string value(const std::string& query) { return appliance().sql_value(query); }

    /// The statement that makes a table today.
    std::string statement_of_today(const char* table) {
        install(5);
        SSD_OP_DB_Version_Upgrade();
        return value("SELECT sql FROM sqlite_master WHERE name = '" + std::string(table) + "'") +
               ";";
    }

    /// All rows of record 7, as the library reads them.
    void expect_the_record() {
        const support::Record record = support::read_record(7);
        EXPECT_STREQ(record->title, "Bob's");
        EXPECT_STREQ(record->nas_model, "Rack");
        EXPECT_EQ(record->start_time, 1'600'000'000);
        EXPECT_EQ(record->max_op, 20);
        ASSERT_NE(record->raid_conf, nullptr);
        EXPECT_EQ(record->raid_conf->ssd_drive_num, 2);
        EXPECT_EQ(record->raid_conf->ssd_drives[1].dev_id, 65538U);
        EXPECT_STREQ(record->raid_conf->ssd_drives[1].serial_no, "B");
        EXPECT_EQ(SSD_OP_DB_Query_Record_Test_Data(record.get(), 7), 0);
        EXPECT_EQ(record->count, 1);
        EXPECT_EQ(record->result_2[0], 4321.25L);
        EXPECT_EQ(SSD_OP_DB_Query_Record_Runtime_Report(record.get(), 7, 10, 1), 0);
        ASSERT_NE(record->runtime_report, nullptr);
        ASSERT_NE(record->runtime_report->next, nullptr);
        EXPECT_EQ(record->runtime_report->next->result, 43);
        EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), 2);
    }

    void expect_version_6() {
        EXPECT_EQ(value("SELECT group_concat(version) FROM DB_VERSION"), "6");
        EXPECT_EQ(value("SELECT count(*) FROM sqlite_master WHERE sql LIKE '%_OLD%'"), "0")
            << "a table was left over, or a foreign key follows one that is gone";
        EXPECT_NE(value("SELECT sql FROM sqlite_master WHERE type = 'trigger'").find("WHEN 12 <"),
                  std::string::npos)
            << "the record limit is lost";
        EXPECT_EQ(value("PRAGMA integrity_check"), "ok");
        EXPECT_TRUE(appliance().sql("PRAGMA foreign_key_check").empty());
    }

    /// A database like any other: what is added to it is read again.
    void expect_in_use() {
        const int select_no = SSD_OP_DB_Query_SSD_Select_No(7, 800, 65538);
        EXPECT_GT(select_no, 0);
        support::write_file("/tmp/report.csv", "3000, 44, 0, 0, 99\n");
        EXPECT_EQ(SSD_OP_DB_Update_Runtime_Report(7, 20, "/tmp/report.csv", 0), 0);
        const support::Record record = support::read_record(7);
        EXPECT_EQ(SSD_OP_DB_Query_Record_Runtime_Report(record.get(), 7, 20, 1), 0);
        ASSERT_NE(record->runtime_report, nullptr);
        EXPECT_EQ(record->runtime_report->result, 44);
        EXPECT_EQ(record->runtime_report->write_amount, 99U);
        EXPECT_EQ(support::store_record("new", {appliance::drive_id(0)}), 10);
    }
};

}  // namespace

TEST_F(Versions, AreBroughtUpWithAllTheirRows) {
    for (const int version : {2, 3, 4, 5}) {
        for (const Form form : {Form::kCreated, Form::kUpgraded}) {
            SCOPED_TRACE(version);
            install(version, form);
            EXPECT_EQ(SSD_OP_DB_Version_Upgrade(), 0);
            expect_version_6();
            expect_the_record();
            EXPECT_EQ(value("SELECT sum(write_amount) FROM RUNTIME_REPORT"),
                      version >= 4 ? "176" : "0")
                << "amounts";
            EXPECT_EQ(value("SELECT sum(performance_read_r) FROM SELECT_DEV"),
                      version >= 4 ? "154" : "0")
                << "figures of the drives";
            const std::string before = support::read_file(kDatabase);
            EXPECT_EQ(SSD_OP_DB_Version_Upgrade(), 0);
            EXPECT_EQ(support::read_file(kDatabase), before) << "a second upgrade changes nothing";
            expect_in_use();
        }
    }
    install(2);
    SSD_OP_DB_Version_Upgrade();
    EXPECT_EQ(value("SELECT nas_cpu_info || lv_size FROM TEST_RECORD WHERE record_no = 7"), "--0");
    install(3);
    run_sql("ALTER TABLE TEST_RECORD ADD COLUMN lv_size TEXT DEFAULT '0'");
    EXPECT_EQ(SSD_OP_DB_Version_Upgrade(), 0) << "one of the new columns was there";
    EXPECT_TRUE(appliance().traced("sql_db_ver_callback_3: The filed already exist."));
    expect_version_6();
}

TEST_F(Versions, KeepRecordsOnTheWayDownAndUpAgain) {
    for (const int version : {5, 4, 3, 2}) {
        SCOPED_TRACE(version);
        install(5);
        ASSERT_EQ(SSD_OP_DB_Version_Upgrade(), 0);
        EXPECT_EQ(SSD_OP_DB_Version_Downgrade(version), 0);
        EXPECT_EQ(value("SELECT version FROM DB_VERSION"), std::to_string(version));
        EXPECT_EQ(value("SELECT count(*) FROM pragma_table_info('SELECT_DEV')"), "8");
        EXPECT_EQ(value("SELECT count(*) FROM SELECT_DEV"), "2");
        EXPECT_EQ(SSD_OP_DB_Version_Upgrade(), 0);
        expect_version_6();
        expect_the_record();
    }
    SSD_OP_DB_Version_Downgrade(2);
    EXPECT_EQ(value("SELECT group_concat(name) FROM pragma_table_info('TEST_RECORD')"),
              "record_no,nas_model,nas_fw_version,name,start_time,end_time,status,sequential,"
              "min_op,max_op,interval");
    EXPECT_EQ(value("SELECT name FROM TEST_RECORD WHERE record_no = 7"), "Bob's");
}

TEST_F(Versions, BeforeTheSecondStartAnewWhereverTheyAreKilled) {
    const auto expect_new = [&] {
        EXPECT_EQ(SSD_OP_DB_Version_Upgrade(), 0);
        EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), 0);
        EXPECT_EQ(value("SELECT group_concat(version) FROM DB_VERSION"), "6");
        EXPECT_EQ(value("PRAGMA integrity_check"), "ok");
    };
    install(1);
    expect_new();
    const int kills = support::kill_at_every_change(
        "ssd_op.db", [] { install(0); }, [] { SSD_OP_DB_Version_Upgrade(); }, expect_new);
    EXPECT_GT(kills, 10);
}

TEST_F(Versions, ThatNeedNoChangeGetNone) {
    ASSERT_EQ(support::store_record("kept", {appliance::drive_id(0)}), 1);
    const std::string before = support::read_file(kDatabase);
    EXPECT_EQ(SSD_OP_DB_Version_Upgrade(), 0);
    EXPECT_EQ(SSD_OP_DB_Version_Downgrade(6), 0);
    EXPECT_EQ(SSD_OP_DB_Version_Downgrade(9), 0);
    EXPECT_EQ(SSD_OP_DB_Version_Downgrade(-1), -1);
    EXPECT_EQ(support::read_file(kDatabase), before);
    run_sql("DROP TABLE DB_VERSION");
    EXPECT_EQ(SSD_OP_DB_Version_Upgrade(), 0);
    EXPECT_EQ(SSD_OP_DB_Version_Downgrade(2), 0);
    EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), 1);
}

TEST_F(Versions, TakeUpAnUpgradeWhereverItWasKilled) {
    const int kills = support::kill_at_every_change(
        "ssd_op.db", [] { install(2); }, [] { SSD_OP_DB_Version_Upgrade(); },
        [&] {
            EXPECT_EQ(SSD_OP_DB_Version_Upgrade(), 0);
            expect_version_6();
            expect_the_record();
        });
    EXPECT_GT(kills, 40) << "the test did not reach into every step";
}

/// Software of those days took the statements of a step one by one.
TEST_F(Versions, TakeUpWhatOlderSoftwareBrokeOff) {
    struct Step {
        int version;
        const char *table, *copied;  // without the column that the step adds or renames
    };
    for (const auto& [version, table, copied] :
         {Step{2, "TEST_RECORD",
               "record_no, nas_model, title, start_time, status, min_op, max_op, "
               "interval"},
          Step{5, "SELECT_DEV", "f_ssd_no, f_raid_no, dev_id, bus_type, performance_read_r"}}) {
        const std::string old = table + std::string("_OLD");
        const std::string new_table = statement_of_today(table);
        std::string copy = std::string("INSERT INTO ") + table + "(" + copied + ") SELECT " +
                           copied + " FROM " + old + ";";
        if (version == 2) copy.replace(copy.rfind("title"), 5, "name");
        const std::string renamed = "PRAGMA legacy_alter_table = ON; ALTER TABLE " +
                                    std::string(table) + " RENAME TO " + old + ";";
        for (const std::string& done : {renamed, renamed + new_table, renamed + new_table + copy}) {
            SCOPED_TRACE(done);
            install(version);
            run_sql(done);
            EXPECT_EQ(SSD_OP_DB_Version_Upgrade(), 0);
            EXPECT_EQ(value("SELECT count(*) FROM SELECT_DEV"), "2");
            EXPECT_EQ(value("SELECT group_concat(version) FROM DB_VERSION"), "6");
            expect_the_record();
        }
    }
}

TEST_F(Versions, LoseNothingWhereverADowngradeWasKilled) {
    const int kills = support::kill_at_every_change(
        "ssd_op.db",
        [] {
            install(5);
            SSD_OP_DB_Version_Upgrade();
        },
        [] { SSD_OP_DB_Version_Downgrade(2); },
        [&] {
            EXPECT_EQ(SSD_OP_DB_Version_Upgrade(), 0);
            expect_version_6();
            expect_the_record();
        });
    EXPECT_GT(kills, 20);
}
