// Records: their creation with the identities of appliance and drives, changes, and all queries.

#include "support/records.h"

#include <cstring>
#include <limits>
#include <numeric>

#include <gmock/gmock.h>
#include <signal.h>

#include "core/state.h"
#include "ssd_op.h"
#include "support/appliance.h"

namespace {

using appliance::drive_id;
using support::Record;
using ::testing::ElementsAre;
using ::testing::EndsWith;

class Records : public support::ApplianceTest {
  protected:
    std::string value(const std::string& query) { return appliance().sql_value(query); }

    void expect_no_trace_of_a_record() {
        EXPECT_EQ(value("SELECT (SELECT count(*) FROM TEST_RECORD) + (SELECT count(*) FROM "
                        "RAID_GROUP) + (SELECT count(*) FROM SELECT_DEV)"),
                  "0");
    }
};

std::string every_byte_but_nul() {
    std::string bytes(255, '\0');
    std::iota(bytes.begin(), bytes.end(), '\1');
    return bytes;
}

/// Record numbers, groups and drives of a page, as "2:800x2 1:800x1,801x1".
std::string page(int offset, int count, int status) {
    ssd_op_db_record* list = nullptr;
    EXPECT_EQ(SSD_OP_DB_Query_Record_Simple(&list, offset, count, status), 0);
    const Record owner(list);
    std::string text;
    for (const ssd_op_db_record* record = list; record != nullptr; record = record->next) {
        text += (text.empty() ? "" : " ") + std::to_string(record->record_no) + ":";
        for (const auto* group = record->raid_conf; group != nullptr; group = group->next)
            text += (group == record->raid_conf ? "" : ",") + std::to_string(group->raid_id) + "x" +
                    std::to_string(group->ssd_drive_num);
    }
    return text;
}

}  // namespace

TEST_F(Records, HoldWhatTheCallerTheApplianceAndTheDrivesSay) {
    const Record record = support::record_of(
        "Nightly", {{800, 1, {drive_id(0), drive_id(1)}}, {801, 0, {drive_id(2)}}});
    record->end_time = 5'000'000'000;
    record->lv_size = 18'446'744'073'709'551'615ULL;
    record->test_size = 1;
    record->sequential = 1;
    record->stop_service = 1;
    record->raid_conf->raid_capacity = 4096;
    ASSERT_EQ(SSD_OP_DB_New_Record(record.get()), 0);
    EXPECT_EQ(record->record_no, 1);
    EXPECT_STREQ(record->nas_fw_version, "5.1.0.2348 (20240110)");
    EXPECT_STREQ(record->nas_mem_info,
                 "Total Memory(8127488 KB),Free Memory(6291456 KB),Slot 1 (Channel A. DIMM 1) : 8 "
                 "GB (DDR4),Slot 2 (Channel B. DIMM 2) : --");

    const Record read = support::read_record(1);
    EXPECT_STREQ(read->title, "Nightly");
    EXPECT_STREQ(read->nas_model, record->nas_model);
    EXPECT_STREQ(read->nas_cpu_info, record->nas_cpu_info);
    EXPECT_STREQ(read->nas_serial_no, record->nas_serial_no);
    EXPECT_STREQ(read->nas_mem_info, record->nas_mem_info);
    EXPECT_EQ(read->start_time, record->start_time);
    EXPECT_EQ(read->end_time, 5'000'000'000);
    EXPECT_EQ(read->lv_size, 18'446'744'073'709'551'615ULL);
    EXPECT_EQ(read->test_size, 1U);
    EXPECT_EQ(read->sequential, 1);
    EXPECT_EQ(read->stop_service, 1);
    EXPECT_EQ(read->min_op, 10);
    EXPECT_EQ(read->max_op, 40);
    EXPECT_EQ(read->interval, 10);
    const ssd_op_db_raid_conf* group = read->raid_conf;
    ASSERT_NE(group, nullptr);
    EXPECT_EQ(group->raid_id, 800);
    EXPECT_EQ(group->raid_level, 1);
    EXPECT_EQ(group->raid_capacity, 4096U);
    ASSERT_EQ(group->ssd_drive_num, 2);
    const ssd_op_db_ssd_dev& drive = group->ssd_drives[0];
    EXPECT_EQ(drive.dev_id, drive_id(0));
    EXPECT_STREQ(drive.vendor, "Norwell");
    EXPECT_STREQ(drive.bus_type, "SATA");
    EXPECT_EQ(drive.capacity, record->raid_conf->ssd_drives[0].capacity * 512);
    EXPECT_EQ(drive.performance_read_r, 0U);
    EXPECT_STRNE(drive.serial_no, group->ssd_drives[1].serial_no);
    ASSERT_NE(group->next, nullptr);
    EXPECT_EQ(group->next->ssd_drive_num, 1);
}

TEST_F(Records, KeepTextsByteForByte) {
    const std::string hostile = every_byte_but_nul();
    appliance()
        .having("display_model_name", "O'Neil's; --")
        .having("cpu_info", "\"quoted\" 100%s %n \xC3\xA4\xFF")
        .having("serial_no", "a','b');DROP TABLE SSD_DEV;--");
    appliance::state().exec("UPDATE drive SET vendor = 'D''or', model = '%s%n', serial_no = 'S'");
    ASSERT_EQ(support::store_record(hostile, {drive_id(0)}), 1);
    const Record read = support::read_record(1);
    EXPECT_EQ(read->title, hostile);
    EXPECT_STREQ(read->nas_model, "O'Neil's; --");
    EXPECT_STREQ(read->nas_cpu_info, "\"quoted\" 100%s %n \xC3\xA4\xFF");
    EXPECT_STREQ(read->nas_serial_no, "a','b');DROP TABLE SSD_DEV;--");
    ASSERT_NE(read->raid_conf, nullptr);
    EXPECT_STREQ(read->raid_conf->ssd_drives[0].vendor, "D'or");
    EXPECT_STREQ(read->raid_conf->ssd_drives[0].model, "%s%n");
}

TEST_F(Records, AreCreatedEvenWhenTheApplianceCannotSayWhoItIs) {
    appliance()
        .failing("Get_Display_Model_Name")
        .failing("Get_Build_Number")
        .failing("HAL_MB_Get_CPU_Info")
        .failing("SE_Get_Serial_No")
        .failing("Get_System_Resource")
        .having("memory_slots", "0");
    ASSERT_EQ(support::store_record("nobody", {drive_id(0)}), 1);
    EXPECT_EQ(value("SELECT nas_model || nas_fw_version || nas_cpu_info || nas_serial_no FROM "
                    "TEST_RECORD"),
              "--------");
    EXPECT_EQ(value("SELECT nas_mem_info FROM TEST_RECORD"),
              "Total Memory(-- KB),Free Memory(-- KB),--");
    EXPECT_EQ(appliance().traces(8).size(), 5U) << "one for each, and the success";
}

TEST_F(Records, NameMemorySlotsForAsLongAsWholeOnesFit) {
    appliance().having("memory_slots", "64").having("memory_slot_64", "16384 DDR4");
    ASSERT_EQ(support::store_record("big", {drive_id(0)}), 1);
    const std::string memory = support::read_record(1)->nas_mem_info;
    EXPECT_LT(memory.size(), 1024U);
    EXPECT_GT(memory.size(), 1024U - 64U);
    EXPECT_THAT(memory, EndsWith(" : --"));
}

TEST_F(Records, KnowADriveThatWasTestedBefore) {
    ASSERT_EQ(support::store_record("first", {drive_id(0), drive_id(1)}), 1);
    appliance::state().exec("UPDATE drive SET revision = 'NEW''2'");
    ASSERT_EQ(support::store_record("second", {drive_id(0)}), 2);
    EXPECT_EQ(value("SELECT count(*) FROM SSD_DEV"), "2");
    EXPECT_EQ(value("SELECT count(*) FROM SSD_DEV WHERE revision = 'NEW''2'"), "1");
    EXPECT_EQ(value("SELECT count(DISTINCT f_ssd_no) FROM SELECT_DEV"), "2");
    EXPECT_STREQ(support::read_record(1)->raid_conf->ssd_drives[0].revision, "NEW'2");
}

TEST_F(Records, LeaveNothingBehindWhenADriveIsMissing) {
    const unsigned absent = drive_id(15);
    EXPECT_EQ(support::store_record("absent", {drive_id(0), absent}), -1);
    EXPECT_TRUE(appliance().traced("The PD(" + std::to_string(absent) + ") is not exist."));
    EXPECT_TRUE(appliance().traced("SSD_OP_DB_New_Record: Fail to insert data."));
    expect_no_trace_of_a_record();
    EXPECT_EQ(value("SELECT count(*) FROM SSD_DEV"), "1") << "a drive is known for good";

    appliance().failing("PD_Get_Info", support::Nth(2), -1);
    EXPECT_EQ(support::store_record("mute", {drive_id(0), drive_id(1)}), -1);
    expect_no_trace_of_a_record();
    EXPECT_EQ(SSD_OP_DB_New_Record(nullptr), -1);
}

TEST_F(Records, AreNotTouchedByTheUndoOfAnother) {
    ASSERT_EQ(support::store_record("precious", {drive_id(0)}), 1);
    appliance().run_sql("ALTER TABLE TEST_RECORD RENAME COLUMN title TO headline");
    const Record record = support::record_of("fails", {{800, 5, {drive_id(0)}}});
    record->record_no = 1;  // what the caller had in it before
    EXPECT_EQ(SSD_OP_DB_New_Record(record.get()), -1);
    EXPECT_EQ(value("SELECT count(*) FROM TEST_RECORD"), "1");
    EXPECT_EQ(value("SELECT count(*) FROM SELECT_DEV"), "1");
}

TEST_F(Records, ChangeFieldByField) {
    ASSERT_EQ(support::store_record("one", {drive_id(0)}), 1);
    ASSERT_EQ(support::store_record("two", {drive_id(0)}), 2);
    constexpr unsigned long long kLargest = ~0ULL;
    EXPECT_EQ(SSD_OP_DB_Update_Record_Test_Size(kLargest, 1), 0);
    EXPECT_EQ(SSD_OP_DB_Update_Record_LV_Size(7, 1), 0);
    EXPECT_EQ(SSD_OP_DB_Update_Record_RAID_Capacity(123456789012, 1, 800), 0);
    EXPECT_EQ(SSD_OP_DB_Update_Record_Status(SSD_OP_TEST_STATUS_FAILED, 1), 0);
    EXPECT_EQ(SSD_OP_DB_Update_Record_End_Time(1'700'000'500, 1), 0);
    int figure = 0;
    for (const int is_write : {0, 1}) {
        for (const int is_sequential : {0, 1})
            EXPECT_EQ(SSD_OP_DB_Update_Disk_Performance(1, 800, static_cast<int>(drive_id(0)),
                                                        is_write, is_sequential,
                                                        kLargest - static_cast<unsigned>(figure++)),
                      0);
    }
    EXPECT_EQ(SSD_OP_DB_Update_Record_Status(4, 99), 0) << "no such record: nothing to change";

    const Record read = support::read_record(1);
    EXPECT_EQ(read->test_size, kLargest);
    EXPECT_EQ(read->lv_size, 7U);
    EXPECT_EQ(read->status, SSD_OP_TEST_STATUS_FAILED);
    EXPECT_EQ(read->end_time, 1'700'000'500);
    EXPECT_EQ(read->raid_conf->raid_capacity, 123456789012U);
    const ssd_op_db_ssd_dev& drive = read->raid_conf->ssd_drives[0];
    EXPECT_EQ(drive.performance_read_r, kLargest);
    EXPECT_EQ(drive.performance_read_s, kLargest - 1);
    EXPECT_EQ(drive.performance_write_r, kLargest - 2);
    EXPECT_EQ(drive.performance_write_s, kLargest - 3);
    const Record other = support::read_record(2);
    EXPECT_EQ(other->lv_size + other->raid_conf->ssd_drives[0].performance_read_r, 0U);
    EXPECT_EQ(other->status, SSD_OP_TEST_STATUS_NEW);
}

TEST_F(Records, AreListedByNumberAndStatus) {
    EXPECT_EQ(SSD_OP_DB_Get_Newest_Record(), 0);
    EXPECT_EQ(page(0, 10, SSD_OP_ANY_STATUS), "");
    for (int record = 1; record <= 5; ++record)
        ASSERT_EQ(support::store_record("r", {drive_id(0), drive_id(1)}), record);
    for (const int record : {2, 5}) SSD_OP_DB_Update_Record_Status(4, record);
    SSD_OP_DB_Update_Record_Status(SSD_OP_TEST_STATUS_STOPPED, 3);

    EXPECT_EQ(page(1, 3, SSD_OP_ANY_STATUS), "4:800x2 3:800x2 2:800x2");
    EXPECT_EQ(page(0, 10, 4), "5:800x2 2:800x2");
    EXPECT_EQ(page(9, 10, 4), "");
    ssd_op_db_record* list = nullptr;
    SSD_OP_DB_Query_Record_Simple(&list, 0, 1, SSD_OP_ANY_STATUS);
    const Record newest(list);
    ASSERT_NE(list, nullptr);
    EXPECT_STRNE(list->raid_conf->ssd_drives[1].log_name, "") << "only pages name the slots";
    EXPECT_STREQ(support::read_record(5)->raid_conf->ssd_drives[1].log_name, "");

    EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), 5);
    EXPECT_EQ(SSD_OP_DB_Get_Newest_Record(), 5);
    std::vector<int> numbers(4, -7);
    EXPECT_EQ(SSD_OP_DB_Query_Record_No(numbers.data(), 3), 3);
    EXPECT_THAT(numbers, ElementsAre(1, 2, 3, -7));
    EXPECT_EQ(SSD_OP_DB_Query_Record_No(numbers.data(), 0), -1);
    EXPECT_EQ(SSD_OP_DB_Query_Record_No(nullptr, 3), -1);
    EXPECT_EQ(SSD_OP_DB_Query_Record_Status(2), 4);
    EXPECT_EQ(SSD_OP_DB_Query_Record_Status(3), -1) << "stopped";
    EXPECT_EQ(SSD_OP_DB_Query_Record_Status(6), -1);
    EXPECT_TRUE(appliance().traced("SSD_OP_DB_Query_Record_Status: The record(6) is not exist."));
    EXPECT_EQ(SSD_OP_DB_Record_Is_Exist(5), 1);
    EXPECT_EQ(SSD_OP_DB_Record_Is_Exist(6), 0);
    EXPECT_EQ(SSD_OP_DB_Query_Record(6, support::empty_record().get()), -1);
    EXPECT_EQ(SSD_OP_DB_Query_Record(1, nullptr), -1);
    EXPECT_GT(SSD_OP_DB_Query_SSD_Select_No(2, 800, static_cast<int>(drive_id(1))), 0);
    EXPECT_EQ(SSD_OP_DB_Query_SSD_Select_No(2, 801, static_cast<int>(drive_id(1))), 0);
    EXPECT_EQ(SSD_OP_DB_Query_SSD_Select_No(6, 800, static_cast<int>(drive_id(1))), -1);
}

TEST_F(Records, SayWhichDrivesAreInTheNewestRunningTest) {
    ASSERT_EQ(support::store_record("older", {drive_id(0)}), 1);
    ASSERT_EQ(support::store_record("newer", {drive_id(1), drive_id(2)}), 2);
    const auto in_testing = [](std::vector<int> drives) {
        return SSD_OP_DB_Query_SSD_In_Testing(drives.data(), static_cast<int>(drives.size()));
    };
    const auto drive = [](int position) { return static_cast<int>(drive_id(position)); };
    for (const int status : {0, 1, 2, 3, 4, -1, -2}) {
        SSD_OP_DB_Update_Record_Status(status, 2);
        EXPECT_EQ(in_testing({drive(0), drive(2)}), status >= 1 && status <= 3 ? 1 : 0) << status;
    }
    SSD_OP_DB_Update_Record_Status(2, 1);
    EXPECT_EQ(in_testing({drive(0)}), 1);
    SSD_OP_DB_Update_Record_Status(2, 2);
    EXPECT_EQ(in_testing({drive(0)}), 0) << "only the newest running record counts";
    EXPECT_EQ(in_testing(std::vector<int>(2000, drive(1))), 1);
    int none = 0;
    EXPECT_EQ(SSD_OP_DB_Query_SSD_In_Testing(&none, 0), 0);
    EXPECT_EQ(SSD_OP_DB_Query_SSD_In_Testing(&none, -5), 0);
    EXPECT_EQ(SSD_OP_DB_Query_SSD_In_Testing(nullptr, 1), -1);
}

TEST_F(Records, StayWithinTheirArraysWhateverTheDatabaseHolds) {
    ASSERT_EQ(support::store_record("many", {drive_id(0)}), 1);
    appliance().run_sql(
        "WITH RECURSIVE n(i) AS (VALUES(1) UNION ALL SELECT i + 1 FROM n WHERE i < 100) INSERT "
        "INTO SELECT_DEV(f_ssd_no, f_raid_no, dev_id) SELECT 1, 1, i FROM n;"
        "WITH RECURSIVE n(i) AS (VALUES(1) UNION ALL SELECT i + 1 FROM n WHERE i < 25) INSERT INTO "
        "TEST_DATA SELECT 30 - i, i, i + 0.5, 1 FROM n;"
        "WITH RECURSIVE n(i) AS (VALUES(1) UNION ALL SELECT i + 1 FROM n WHERE i < 25) INSERT INTO "
        "RUNTIME_REPORT SELECT i, i, i, i, 1 FROM n");
    const Record record = support::empty_record();
    EXPECT_EQ(SSD_OP_DB_Query_Record(1, record.get()), 0);
    EXPECT_EQ(record->raid_conf->ssd_drive_num, SSD_OP_MAX_DRIVES);
    EXPECT_EQ(record->raid_conf->next, nullptr);
    EXPECT_EQ(page(0, 1, SSD_OP_ANY_STATUS), "1:800x64");
    EXPECT_EQ(SSD_OP_DB_Query_Record_Test_Data(record.get(), 1), 0);
    EXPECT_EQ(record->count, SSD_OP_MAX_RATIOS);
    EXPECT_EQ(record->percentage[0], 5);
    EXPECT_EQ(record->result_2[0], 25.5L);
    std::vector<int> ratios(21, -7);
    EXPECT_EQ(SSD_OP_DB_Query_Runtime_Percentage(ratios.data(), 20, 1), 20);
    EXPECT_EQ(ratios[20], -7);
    int told = 0;
    for (const support::Trace& trace : appliance().traces(1))
        told += trace.text.find("entries, the others are left out") != std::string::npos ? 1 : 0;
    EXPECT_EQ(told, 4) << "once for each query";
}

TEST_F(Records, ReadMissingValuesAsNothingAndOddNumbersAsTheyRead) {
    ASSERT_EQ(support::store_record("empty", {drive_id(0)}), 1);
    appliance().run_sql(
        "UPDATE TEST_RECORD SET title = NULL, nas_mem_info = NULL, lv_size = NULL, status = NULL;"
        "UPDATE SSD_DEV SET revision = NULL, capacity = NULL;"
        "UPDATE SELECT_DEV SET bus_type = NULL, performance_read_s = NULL;"
        "INSERT INTO TEST_DATA VALUES(NULL, NULL, 'x', 1), (20, ' +0x10', '1e99999', 1);"
        "INSERT INTO RUNTIME_REPORT VALUES(10, NULL, NULL, NULL, 1);"
        "INSERT INTO SSD_RUNTIME_DATA VALUES(10, NULL, NULL, 1)");
    const Record record = support::read_record(1);
    EXPECT_STREQ(record->title, "");
    EXPECT_EQ(record->lv_size, 0U);
    EXPECT_EQ(record->raid_conf->ssd_drives[0].capacity, 0U);
    EXPECT_EQ(SSD_OP_DB_Query_Record_Status(1), 0);
    EXPECT_EQ(SSD_OP_DB_Query_Record_Test_Data(record.get(), 1), 0);
    EXPECT_EQ(record->result_2[0], 0);
    EXPECT_EQ(record->result_1[1], 16);
    EXPECT_EQ(record->result_2[1], std::numeric_limits<long double>::infinity());
    EXPECT_EQ(SSD_OP_DB_Query_Record_Runtime_Report(record.get(), 1, 10, 1), 0);
    ASSERT_NE(record->runtime_report, nullptr);
    EXPECT_EQ(record->runtime_report->write_amount, 0U);
    EXPECT_EQ(SSD_OP_DB_Query_SSD_Runtime_Data(&record->raid_conf->ssd_drives[0], 1, 10), 0);
    EXPECT_NE(record->raid_conf->ssd_drives[0].runtime_data, nullptr);
}

TEST_F(Records, SurviveTheirCreatorsDeathHalfway) {
    ASSERT_EQ(support::store_record("whole", {drive_id(0)}), 1);
    appliance().killing("PD_Get_Info", support::Nth(2));
    EXPECT_EQ(support::in_child([] {
                  return support::store_record("half", {drive_id(0), drive_id(1)});
              }),
              support::killed(SIGKILL));
    appliance().healthy();
    EXPECT_EQ(value("PRAGMA integrity_check"), "ok");
    EXPECT_EQ(SSD_OP_DB_Get_Newest_Record(), 1);
    EXPECT_EQ(support::store_record("next", {drive_id(0), drive_id(1)}), 2);
    EXPECT_EQ(page(0, 10, SSD_OP_ANY_STATUS), "2:800x2 1:800x1");
}

TEST(FreeingRecords, AcceptsNothing) {
    SSD_OP_DB_Free_Record(nullptr);
    SSD_OP_DB_Free_RAID_Conf(nullptr);
    SSD_OP_DB_Free_Runtime_Report(nullptr);
    SSD_OP_DB_Free_SSD_Runtime_Data(nullptr);
    const Record record = support::record_of("groups", {{800, 5, {1}}, {801, 5, {2}}});
    SSD_OP_DB_Free_RAID_Conf(record.get());
    EXPECT_EQ(record->raid_conf, nullptr);
}
