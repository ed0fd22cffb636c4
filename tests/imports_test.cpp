// Results, runtime reports and temperature samples on their way into the database.

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "ssd_op.h"
#include "support/appliance.h"
#include "support/crash.h"
#include "support/records.h"

namespace {

using appliance::drive_id;
using support::Record;
using support::Row;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kFile = "/tmp/imports_test.csv";

class Imports : public support::ApplianceTest {
  protected:
    Imports() { EXPECT_EQ(support::store_record("imported", {drive_id(0), drive_id(1)}), 1); }

    support::Rows sql(const std::string& query) { return appliance().sql(query); }
    std::string value(const std::string& query) { return appliance().sql_value(query); }

    int import_report(const std::string& text, int percentage = 10, int reason_code = 0) {
        support::write_file(kFile, text);
        return SSD_OP_DB_Update_Runtime_Report(1, percentage, kFile, reason_code);
    }
    int import_samples(const std::string& text, int percentage = 10) {
        support::write_file(kFile, text);
        return SSD_OP_DB_Update_SSD_Runtime_Data(1, percentage, kFile);
    }
    support::Rows reports() {
        return sql(
            "SELECT percentage, time_slap, result, write_amount, f_record_no FROM "
            "RUNTIME_REPORT ORDER BY rowid");
    }
    support::Rows samples() {
        return sql(
            "SELECT percentage, time_slap, temperature, f_select_no FROM SSD_RUNTIME_DATA "
            "ORDER BY rowid");
    }
    /// The form that the table has in a database that was upgraded.
    void put_amount_last() {
        appliance().run_sql(
            "DROP TABLE RUNTIME_REPORT;"
            "CREATE TABLE RUNTIME_REPORT(percentage INTEGER, time_slap TEXT, result INTEGER, "
            "f_record_no INTEGER);"
            "ALTER TABLE RUNTIME_REPORT ADD COLUMN write_amount TEXT DEFAULT '0'");
    }
};

std::string long_report(int lines) {
    std::string text;
    for (int i = 1; i <= lines; ++i)
        text += std::to_string(i * 1000L) + ", " + std::to_string(20000 + i % 997) + ", 0, 0, " +
                std::to_string(i * 80'000L) + "\n";
    return text;
}

}  // namespace

TEST_F(Imports, PutEachColumnOfAReportInItsPlaceInEitherOrderOfTheTable) {
    const std::string text =
        "12,3400,x,y,1048576\n"
        " \t13 ,, 3500\v-\f-,18446744073709551615,more, fields\r\n"
        "14 3600 a b 7";  // and no line end
    const auto expected = ElementsAre(Row{"10", "12", "3400", "1048576", "1"},
                                      Row{"10", "13", "3500", "18446744073709551615", "1"},
                                      Row{"10", "14", "3600", "7", "1"});
    EXPECT_EQ(import_report(text), 0);
    EXPECT_THAT(reports(), expected);
    EXPECT_TRUE(appliance().traced("Success to import runtime data into record(1)."));
    put_amount_last();
    EXPECT_EQ(import_report(text), 0);
    EXPECT_THAT(reports(), expected);

    const Record record = support::empty_record();
    ASSERT_EQ(SSD_OP_DB_Query_Record_Runtime_Report(record.get(), 1, 10, 1), 0);
    ASSERT_NE(record->runtime_report, nullptr);
    EXPECT_EQ(record->runtime_report->time_slap, 12);
    EXPECT_EQ(record->runtime_report->next->write_amount, ~0ULL);
    EXPECT_EQ(record->runtime_report->next->next->next, nullptr);
}

TEST_F(Imports, KeepNothingOfAReportWithABadLine) {
    ASSERT_EQ(import_report("1,2,3,4,5\n"), 0);
    const std::string piece(128, '7');  // is cut after 127 bytes, and lacks fields
    for (const std::string& bad :
         {std::string("12,3400,x,y\n"), std::string("\n"), std::string(" ,\t, \n"),
          std::string("12\n"), piece + " 2 3 4 5\n", std::string("1,2,3,4\0,5\n", 11)}) {
        SCOPED_TRACE(bad);
        EXPECT_EQ(import_report("6,7,8,9,10\n" + bad + "6,7,8,9,10\n"), -1);
        EXPECT_THAT(reports(), ElementsAre(Row{"10", "1", "2", "5", "1"}));
    }
    EXPECT_TRUE(appliance().traced("Fail to split time token by ','."));
    EXPECT_TRUE(appliance().traced("Fail to split result token by ','."));
    EXPECT_EQ(SSD_OP_DB_Update_Runtime_Report(1, 10, "/tmp/absent", 0), -1);
    EXPECT_TRUE(appliance().traced(
        "SSD_OP_DB_Update_Runtime_Report:Fail to open report_csv(/tmp/absent)."));
    EXPECT_EQ(SSD_OP_DB_Update_Runtime_Report(1, 10, "/tmp", 0), -1) << "a directory";
    EXPECT_EQ(SSD_OP_DB_Update_Runtime_Report(1, 10, nullptr, 0), -1);
    EXPECT_EQ(SSD_OP_DB_Update_Runtime_Report(2, 10, kFile, 0), -1) << "no such record";
}

TEST_F(Imports, ReadALongLineInPiecesAndALineUpToItsNul) {
    // 127 bytes with five fields, then a piece with five more.
    std::string line = "1,2,3,4,5";
    line.resize(127, ' ');
    EXPECT_EQ(import_report(line + "6,7,8,9,10\n"), 0);
    EXPECT_EQ(import_report(std::string("11,12,13,14,15\0,x\n", 18)), 0);
    EXPECT_THAT(reports(),
                ElementsAre(Row{"10", "1", "2", "5", "1"}, Row{"10", "6", "7", "10", "1"},
                            Row{"10", "11", "12", "15", "1"}));
}

TEST_F(Imports, OpenNothingThatCouldHoldTheDatabasesLock) {
    ASSERT_EQ(import_report("1,2,3,4,5\n"), 0);
    for (const bool pipe : {true, false}) {
        ::unlink(kFile);
        ASSERT_EQ(pipe ? ::mkfifo(kFile, 0644) : ::symlink("/dev/zero", kFile), 0);
        EXPECT_EQ(SSD_OP_DB_Update_Runtime_Report(1, 10, kFile, 0), -1);
        EXPECT_EQ(SSD_OP_DB_Update_SSD_Runtime_Data(1, 10, kFile), -1);
    }
    ::unlink(kFile);
    EXPECT_EQ(reports().size(), 1U);
}

TEST_F(Imports, AcceptAFileWithoutLines) {
    EXPECT_EQ(import_report(""), 0);
    EXPECT_EQ(import_samples(""), 0);
    EXPECT_THAT(reports(), IsEmpty());
}

TEST_F(Imports, RememberASkippedRatioWhateverBecomesOfItsFile) {
    EXPECT_EQ(import_report("1,2,3,4,5\n", 30, 254), 0);
    EXPECT_EQ(SSD_OP_DB_Update_Runtime_Report(1, 40, "/tmp/absent", 254), -1);
    EXPECT_EQ(import_report("1,2,3,4,5\n", 20, 255), 0);
    int skipped = 0;
    EXPECT_EQ(SSD_OP_Test_Get_Skip_OP_Count(1, &skipped), 0);
    EXPECT_EQ(skipped, 2);
    EXPECT_EQ(SSD_OP_Test_Is_Skip_OP(1, 30), 1);
    EXPECT_EQ(SSD_OP_Test_Is_Skip_OP(1, 40), 1);
    EXPECT_EQ(SSD_OP_Test_Is_Skip_OP(1, 20), 0);
    const auto events = appliance().events();
    ASSERT_EQ(events.size(), 2U);
    EXPECT_NE(events[1].description.find("40%"), std::string::npos);
}

TEST_F(Imports, TakeALongReportAndGiveItBack) {
    constexpr int kLines = 100'000;
    ASSERT_EQ(import_report(long_report(kLines)), 0);
    ASSERT_EQ(import_report("1,2,3,4,5\n", 20), 0);
    EXPECT_EQ(SSD_OP_DB_Query_Record_Runtime_Count(1, 10), kLines);
    int ratios[20] = {};
    EXPECT_EQ(SSD_OP_DB_Query_Runtime_Percentage(ratios, 20, 1), 2);
    const auto count = [](int every) {
        const Record record = support::empty_record();
        EXPECT_EQ(SSD_OP_DB_Query_Record_Runtime_Report(record.get(), 1, 10, every), 0);
        int nodes = 0;
        int64_t last = 0;
        for (const auto* node = record->runtime_report; node != nullptr; node = node->next) {
            EXPECT_GT(node->time_slap, last);
            last = node->time_slap;
            ++nodes;
        }
        return nodes;
    };
    EXPECT_EQ(count(1), kLines);
    EXPECT_EQ(count(1000), kLines / 1000);
    EXPECT_EQ(count(0), 0);
}

TEST_F(Imports, ReplaceTheTemperatureSamplesOfTheirRatio) {
    const int first = SSD_OP_DB_Query_SSD_Select_No(1, 800, static_cast<int>(drive_id(0)));
    const int second = SSD_OP_DB_Query_SSD_Select_No(1, 800, static_cast<int>(drive_id(1)));
    ASSERT_GT(first, 0);
    const auto line = [](int time, int select_no, int temperature) {
        return std::to_string(time) + ", 65537, " + std::to_string(select_no) + ", " +
               std::to_string(temperature) + "\n";
    };
    EXPECT_EQ(import_samples(line(1, first, 30) + line(1, second, 31)), 0);
    EXPECT_EQ(import_samples(line(2, second, 50), 20), 0);
    EXPECT_EQ(import_samples(line(3, first, -10) + line(4, first, 41)), 0);
    const std::string number = std::to_string(first);
    EXPECT_THAT(samples(),
                ElementsAre(Row{"20", "2", "50", std::to_string(second)},
                            Row{"10", "3", "-10", number}, Row{"10", "4", "41", number}));

    const Record record = support::read_record(1);
    ssd_op_db_ssd_dev& drive = record->raid_conf->ssd_drives[0];
    EXPECT_EQ(SSD_OP_DB_Query_SSD_Runtime_Data(&drive, 1, 10), 0);
    ASSERT_NE(drive.runtime_data, nullptr);
    EXPECT_EQ(drive.runtime_data->temperature, -10);
    EXPECT_EQ(drive.runtime_data->next->time_slap, 4);

    EXPECT_EQ(import_samples(line(5, first, 30) + "6, 65537, 1\n"), -1);
    EXPECT_THAT(samples(), ElementsAre(Row{"20", "2", "50", std::to_string(second)}))
        << "a failed import leaves its ratio without samples";
    EXPECT_EQ(SSD_OP_DB_Update_SSD_Runtime_Data(1, 20, nullptr), -1);
    EXPECT_EQ(SSD_OP_DB_Update_SSD_Runtime_Data(9, 20, kFile), -1);
}

TEST_F(Imports, UpdateKnownResultsAndInsertOthers) {
    EXPECT_EQ(SSD_OP_DB_Update_Test_Result(1, 0, 1.5L, 100), 0);
    EXPECT_EQ(SSD_OP_DB_Update_Test_Result(1, 20, 2.5L, 200), 0);
    const Record record = support::empty_record();
    record->record_no = 1;
    record->count = 2;
    record->percentage[1] = 30;
    record->result_1[0] = 1234.5L;
    record->result_1[1] = 1234.5L;
    record->result_2[1] = 18'446'744'073'709'551'615.0L;
    EXPECT_EQ(SSD_OP_DB_Update_Test_Data(record.get()), 0);
    EXPECT_EQ(record->percentage[0], 0) << "the caller's record stays as it was";
    EXPECT_THAT(sql("SELECT percentage, result_1, result_2 FROM TEST_DATA ORDER BY percentage"),
                ElementsAre(Row{"0", "1234.5", "0.0"}, Row{"20", "2.500000", "200.000000"},
                            Row{"30", "1234.500000", "18446744073709551615.000000"}));
    const Record read = support::empty_record();
    EXPECT_EQ(SSD_OP_DB_Query_Record_Test_Data(read.get(), 1), 0);
    EXPECT_EQ(read->count, 3);
    EXPECT_EQ(read->result_1[0], read->result_1[2]);
    EXPECT_EQ(read->result_2[2], 18'446'744'073'709'551'615.0L);

    record->count = 0;
    EXPECT_EQ(SSD_OP_DB_Update_Test_Data(record.get()), -1);
    EXPECT_TRUE(appliance().traced("ssd_op_db_insert_test_data: record count is less than 1."));
    EXPECT_TRUE(appliance().traced("SSD_OP_DB_Update_Test_Data: Fail to insert data."));
    record->count = 1000;  // more than there is room for
    EXPECT_EQ(SSD_OP_DB_Update_Test_Data(record.get()), 0);
    EXPECT_EQ(SSD_OP_DB_Update_Test_Data(nullptr), -1);
}

TEST_F(Imports, KeepTheResultsOfBeforeWhenNewOnesCannotBeStored) {
    ASSERT_EQ(SSD_OP_DB_Update_Test_Result(1, 10, 1, 2), 0);
    appliance().run_sql(
        "CREATE TRIGGER full BEFORE INSERT ON TEST_DATA WHEN NEW.percentage = 30 BEGIN SELECT "
        "RAISE(FAIL, 'no room'); END");
    const Record record = support::empty_record();
    record->record_no = 1;
    record->count = 2;
    record->percentage[0] = 20;
    record->percentage[1] = 30;
    EXPECT_EQ(SSD_OP_DB_Update_Test_Data(record.get()), -1);
    EXPECT_TRUE(appliance().traced("ssd_op_db_insert_test_data: Fail to step transaction."));
    EXPECT_EQ(value("SELECT group_concat(percentage) FROM TEST_DATA"), "10");
}

TEST_F(Imports, AreWholeOrMissingWhereverTheyAreKilled) {
    support::write_file(kFile, long_report(300));
    const int kills = support::kill_at_every_change(
        "ssd_op.db", [&] { appliance().run_sql("DELETE FROM RUNTIME_REPORT"); },
        [] { SSD_OP_DB_Update_Runtime_Report(1, 10, kFile, 0); },
        [&] {
            EXPECT_THAT(SSD_OP_DB_Query_Record_Runtime_Count(1, 10), ::testing::AnyOf(0, 300));
            EXPECT_EQ(value("PRAGMA integrity_check"), "ok");
        });
    EXPECT_GT(kills, 5) << "the test did not reach into the import";
}
