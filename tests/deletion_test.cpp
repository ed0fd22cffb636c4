// Deletion of records, and the limit on how many are kept.

#include <ostream>

#include <sqlite3.h>

#include "ssd_op.h"
#include "support/appliance.h"
#include "support/crash.h"
#include "support/files.h"
#include "support/records.h"

namespace {

using appliance::drive_id;

/// How many rows each table has.
struct Rows {
    int records, groups, drives, results, reports, samples;
    bool operator==(const Rows&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Rows& rows) {
    return out << rows.records << " records, " << rows.groups << " groups, " << rows.drives
               << " drives, " << rows.results << " results, " << rows.reports << " reports, "
               << rows.samples << " samples";
}

/// What records have that store_records made: one row in every table each.
Rows all_of(int count) { return {count, count, count, count, count, count}; }

class Deletion : public support::ApplianceTest {
  protected:
    std::string value(const std::string& query) { return appliance().sql_value(query); }
    /// Records 1 to count, each with a row in every table and a runtime state.
    void store_records(int count) {
        for (int record = 1; record <= count; ++record) {
            ASSERT_EQ(support::store_record("No " + std::to_string(record), {drive_id(0)}), record);
            SSD_OP_DB_Update_Test_Result(record, 10, 1, 2);
            support::write_file("/tmp/deletion_test.csv", "1,2,3,4,5\n");
            SSD_OP_DB_Update_Runtime_Report(record, 10, "/tmp/deletion_test.csv", 0);
            const int select_no =
                SSD_OP_DB_Query_SSD_Select_No(record, 800, static_cast<int>(drive_id(0)));
            support::write_file("/tmp/deletion_test.csv",
                                "1, 1, " + std::to_string(select_no) + ", 30\n");
            SSD_OP_DB_Update_SSD_Runtime_Data(record, 10, "/tmp/deletion_test.csv");
            SSD_OP_Test_Set_OP_Count(record, 5);
            SSD_OP_Test_Set_Step_Progress(record, record);
        }
    }
    int rows_of(const std::string& table) {
        return std::stoi(value("SELECT count(*) FROM " + table));
    }
    Rows rows() {
        return {.records = rows_of("TEST_RECORD"),
                .groups = rows_of("RAID_GROUP"),
                .drives = rows_of("SELECT_DEV"),
                .results = rows_of("TEST_DATA"),
                .reports = rows_of("RUNTIME_REPORT"),
                .samples = rows_of("SSD_RUNTIME_DATA")};
    }
    /// Tables with rows that lead to no record, and how many.
    std::string without_record() {
        return value(
            "WITH groups AS (SELECT raid_no FROM RAID_GROUP WHERE f_record_no IN (SELECT record_no "
            "FROM TEST_RECORD)), drives AS (SELECT select_no FROM SELECT_DEV WHERE f_raid_no IN "
            "groups), found(place, rows, name) AS ("
            "SELECT 1, count(*), 'RAID_GROUP' FROM RAID_GROUP WHERE raid_no NOT IN groups UNION "
            "SELECT 2, count(*), 'SELECT_DEV' FROM SELECT_DEV WHERE select_no NOT IN drives UNION "
            "SELECT 3, count(*), 'TEST_DATA' FROM TEST_DATA WHERE f_record_no NOT IN (SELECT "
            "record_no FROM TEST_RECORD) UNION "
            "SELECT 4, count(*), 'RUNTIME_REPORT' FROM RUNTIME_REPORT WHERE f_record_no NOT IN "
            "(SELECT record_no FROM TEST_RECORD) UNION "
            "SELECT 5, count(*), 'SSD_RUNTIME_DATA' FROM SSD_RUNTIME_DATA WHERE f_select_no NOT IN "
            "drives) SELECT coalesce(group_concat(text, ', '), '') FROM (SELECT rows || ' ' || "
            "name AS text FROM found WHERE rows > 0 ORDER BY place)");
    }
    std::string records() {
        return value(
            "SELECT group_concat(record_no) FROM (SELECT record_no FROM TEST_RECORD ORDER "
            "BY record_no)");
    }
};

bool has_runtime_state(int record_no) {
    int progress = -1;
    return SSD_OP_Test_Get_Step_Progress(record_no, &progress) == 0;
}

}  // namespace

TEST_F(Deletion, TakesARecordWithAllThatBelongsToIt) {
    store_records(3);
    EXPECT_EQ(SSD_OP_DB_Delete_Record(2), 0);
    EXPECT_EQ(rows(), all_of(2));
    EXPECT_EQ(records(), "1,3");
    EXPECT_EQ(value("SELECT count(*) FROM SSD_DEV"), "1");
    EXPECT_FALSE(has_runtime_state(2));
    EXPECT_TRUE(has_runtime_state(3));
    ASSERT_EQ(appliance().events().size(), 1U);
    EXPECT_NE(appliance().events()[0].description.find("No 2"), std::string::npos);

    EXPECT_EQ(SSD_OP_DB_Delete_Record(2), -1) << "it is gone";
    EXPECT_TRUE(appliance().traced("Fail to get record(2) information."));
    EXPECT_TRUE(appliance().traced("Fail to delete data from database."));
    EXPECT_EQ(rows(), all_of(2));
    EXPECT_EQ(appliance().events().size(), 2U);
}

TEST_F(Deletion, TakesAllRecordsAndStartsCountingAnew) {
    EXPECT_EQ(SSD_OP_DB_Delete_Record(-1), 0) << "none is fine";
    store_records(3);
    EXPECT_EQ(SSD_OP_DB_Delete_Record(-1), 0);
    EXPECT_EQ(rows(), all_of(0));
    EXPECT_FALSE(has_runtime_state(1) || has_runtime_state(3));
    EXPECT_EQ(value("SELECT version FROM DB_VERSION"), "6");
    EXPECT_EQ(value("PRAGMA freelist_count"), "0") << "the file is compacted";
    EXPECT_EQ(appliance().events().size(), 2U);
    EXPECT_EQ(support::store_record("first again", {drive_id(0)}), 1);

    appliance().run_sql(
        "DROP TRIGGER test_record_trigger; WITH RECURSIVE number(n) AS (SELECT 2 UNION ALL SELECT "
        "n + 1 FROM number WHERE n < 600) INSERT INTO TEST_RECORD(record_no) SELECT n FROM number");
    SSD_OP_Test_Set_Step_Progress(600, 1);
    EXPECT_EQ(SSD_OP_DB_Delete_Record(-1), 0);
    EXPECT_FALSE(has_runtime_state(600)) << "however many there are";
}

TEST_F(Deletion, LeavesRowsThatBelongToNoRecordOnlyWhereTheLimitDeletes) {
    store_records(6);
    EXPECT_EQ(SSD_OP_DB_Delete_Record(3), 0);
    EXPECT_EQ(without_record(), "");
    EXPECT_EQ(SSD_OP_DB_Update_Max_Record_Limit(4), 0);
    EXPECT_EQ(records(), "2,4,5,6");
    EXPECT_EQ(without_record(), "1 SSD_RUNTIME_DATA");

    // The trigger, with the next change of a record, knows nothing but records.
    ASSERT_EQ(support::store_record("beyond", {drive_id(0)}), 7);
    SSD_OP_DB_Update_Record_Status(1, 7);
    EXPECT_EQ(records(), "4,5,6,7");
    EXPECT_EQ(without_record(),
              "1 RAID_GROUP, 1 SELECT_DEV, 1 TEST_DATA, 1 RUNTIME_REPORT, 2 SSD_RUNTIME_DATA");
    EXPECT_EQ(SSD_OP_DB_Delete_Record(-1), 0) << "takes them, too";
    EXPECT_EQ(without_record(), "");
    EXPECT_EQ(value("SELECT count(*) FROM SSD_DEV"), "1") << "drives stay known";
}

TEST_F(Deletion, ANumberThatIsGivenAnewBringsNothingBack) {
    SSD_OP_DB_Update_Max_Record_Limit(2);
    store_records(3);
    SSD_OP_DB_Update_Record_Status(1, 3);
    EXPECT_EQ(records(), "2,3") << "the trigger has dropped the first, and left its rows";
    for (const int record : {2, 3}) EXPECT_EQ(SSD_OP_DB_Delete_Record(record), 0);
    Rows left = all_of(1);
    left.records = 0;
    EXPECT_EQ(rows(), left);

    appliance().run_sql(
        "CREATE TRIGGER keep BEFORE DELETE ON TEST_DATA BEGIN SELECT RAISE(ABORT, 'held'); END");
    EXPECT_EQ(support::store_record("heir", {drive_id(1)}), -1);
    EXPECT_TRUE(
        appliance().traced("Fail to delete rows of TEST_DATA, left by dropped records (held)."));
    EXPECT_EQ(rows(), left);
    appliance().run_sql("DROP TRIGGER keep");

    ASSERT_EQ(support::store_record("first again", {drive_id(1)}), 1);
    EXPECT_EQ(
        rows(),
        (Rows{.records = 1, .groups = 1, .drives = 1, .results = 0, .reports = 0, .samples = 0}));
    for (const char* table :
         {"RUNTIME_REPORT", "TEST_DATA", "RAID_GROUP", "SELECT_DEV", "SSD_RUNTIME_DATA"})
        EXPECT_TRUE(appliance().traced("1 rows of " + std::string(table) +
                                       ", left by dropped records, are deleted."));
    EXPECT_EQ(without_record(), "");
    const support::Record record = support::read_record(1);
    ASSERT_NE(record->raid_conf, nullptr);
    EXPECT_EQ(record->raid_conf->next, nullptr);
    EXPECT_EQ(record->raid_conf->ssd_drives[0].dev_id, drive_id(1));
}

TEST_F(Deletion, SaysWhatSqliteSaysWhenTheRecordsCannotBeDeleted) {
    store_records(1);
    appliance().run_sql(
        "CREATE TRIGGER keep BEFORE DELETE ON TEST_RECORD BEGIN SELECT RAISE(ABORT, 'no'); END");
    EXPECT_EQ(SSD_OP_DB_Delete_Record(1), SQLITE_CONSTRAINT);
    EXPECT_TRUE(appliance().traced("SSD_OP_DB_Delete_Record: Fail to execute sql(delete."));
    EXPECT_EQ(rows(), all_of(1)) << "a record that stays keeps its parts";
    EXPECT_EQ(appliance().events().size(), 1U);
}

TEST_F(Deletion, IsWholeOrNothingWhereverItIsKilled) {
    const int kills = support::kill_at_every_change(
        "ssd_op.db",
        [&] {
            if (SSD_OP_DB_Query_Record_Count() < 1) store_records(1);
        },
        [] { SSD_OP_DB_Delete_Record(1); },
        [&] {
            EXPECT_GE(SSD_OP_DB_Query_Record_Count(), 0) << "undoes what was half done";
            EXPECT_TRUE(rows() == all_of(1) || rows() == all_of(0)) << rows();
            EXPECT_EQ(value("PRAGMA integrity_check"), "ok");
        });
    EXPECT_GT(kills, 5);
}

TEST_F(Deletion, OfTheOldestFollowsTheLimit) {
    store_records(8);
    EXPECT_EQ(SSD_OP_DB_Query_Max_Record_Limit(), 30);
    EXPECT_EQ(SSD_OP_DB_Update_Max_Record_Limit(40), 0);
    EXPECT_EQ(rows(), all_of(8));
    EXPECT_EQ(SSD_OP_DB_Query_Max_Record_Limit(), 40);
    EXPECT_EQ(SSD_OP_DB_Update_Max_Record_Limit(5), 0);
    EXPECT_EQ(records(), "4,5,6,7,8");
    Rows expected = all_of(5);
    expected.samples = 8;
    EXPECT_EQ(rows(), expected) << "samples stay";
    for (const int refused : {0, -1}) EXPECT_EQ(SSD_OP_DB_Update_Max_Record_Limit(refused), -1);
    EXPECT_EQ(SSD_OP_DB_Query_Max_Record_Limit(), 5);

    ASSERT_EQ(support::store_record("one more", {drive_id(0)}), 9);
    EXPECT_EQ(records(), "4,5,6,7,8,9") << "until a record changes";
    SSD_OP_DB_Update_Record_Status(1, 9);
    EXPECT_EQ(records(), "5,6,7,8,9");

    appliance().run_sql("DROP TRIGGER test_record_trigger");
    EXPECT_EQ(SSD_OP_DB_Query_Max_Record_Limit(), 30);
    appliance().run_sql(
        "CREATE TRIGGER test_record_trigger AFTER UPDATE ON TEST_RECORD BEGIN SELECT 1; END");
    EXPECT_EQ(SSD_OP_DB_Query_Max_Record_Limit(), 30) << "a text without a limit";
    EXPECT_TRUE(appliance().traced("Fail to query max record limit from database."));
    EXPECT_EQ(SSD_OP_DB_Update_Max_Record_Limit(7), 0);
    EXPECT_EQ(SSD_OP_DB_Query_Max_Record_Limit(), 7);
}
