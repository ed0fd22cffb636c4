#pragma once

#include "db/sql.h"

namespace ssd_op::db {

/// Version of the schema below.
constexpr int kCurrentVersion = 6;
/// Records that a new database keeps.
constexpr int kDefaultRecordLimit = 30;

// Creation statements. The trigger's text is also where the record limit is kept.

constexpr const char* kCreateSsdDev =
    "CREATE TABLE SSD_DEV ("
    "     ssd_no INTEGER,     vendor TEXT,     model TEXT,     serial_no TEXT,     capacity TEXT,"
    "     revision TEXT,     PRIMARY KEY(ssd_no),"
    "     CONSTRAINT vendor_model UNIQUE(vendor, model, serial_no) );";

constexpr const char* kCreateTestRecord =
    "CREATE TABLE TEST_RECORD ("
    "     record_no INTEGER,     nas_model TEXT,     nas_fw_version TEXT,     title TEXT,"
    "     start_time INTEGER,     end_time INTEGER,     status INTEGER,     sequential INTEGER,"
    "     min_op INTEGER,     max_op INTEGER,     interval INTEGER,     stop_service INTEGER,"
    "     lv_size TEXT,     test_size TEXT,     nas_cpu_info TEXT,     nas_mem_info TEXT,"
    "     nas_serial_no TEXT,     PRIMARY KEY(record_no) );";

constexpr const char* kCreateRaidGroup =
    "CREATE TABLE RAID_GROUP ("
    "     raid_no INTEGER,     raid_id INTEGER,     raid_type INTEGER,     raid_capacity INTEGER,"
    "     f_record_no INTEGER,     PRIMARY KEY(raid_no),     CONSTRAINT record_constraint"
    " FOREIGN KEY(f_record_no) REFERENCES TEST_RECORD(record_no) );";

constexpr const char* kCreateSelectDev =
    "CREATE TABLE SELECT_DEV ("
    "     f_ssd_no INTEGER,     f_raid_no INTEGER,     dev_id INTEGER,     bus_type TEXT,"
    "     performance_write_r TEXT,     performance_write_s TEXT,"
    "     performance_read_r TEXT,     performance_read_s TEXT,     select_no INTEGER,"
    "     CONSTRAINT ssd_constraint FOREIGN KEY(f_ssd_no) REFERENCES SSD_DEV(ssd_no),"
    "     CONSTRAINT raid_constraint FOREIGN KEY(f_raid_no) REFERENCES RAID_GROUP(raid_no),"
    "     PRIMARY KEY(select_no));";

constexpr const char* kCreateTestData =
    "CREATE TABLE TEST_DATA ("
    "     percentage INTEGER,     result_1 TEXT,     result_2 TEXT,     f_record_no INTEGER,"
    "     CONSTRAINT record_constraint"
    " FOREIGN KEY(f_record_no) REFERENCES TEST_RECORD(record_no) );";

constexpr const char* kCreateRuntimeReport =
    "CREATE TABLE RUNTIME_REPORT("
    "     percentage INTEGER,     time_slap TEXT,     result INTEGER,     write_amount TEXT,"
    "     f_record_no INTEGER,     CONSTRAINT record_constraint"
    " FOREIGN KEY(f_record_no) REFERENCES TEST_RECORD(record_no) );";

constexpr const char* kCreateDbVersion = "CREATE TABLE DB_VERSION(     version INTEGER);";

constexpr const char* kCreateSsdRuntimeData =
    "CREATE TABLE SSD_RUNTIME_DATA("
    "     percentage INTEGER,     time_slap TEXT,     temperature INTEGER,     f_select_no INTEGER,"
    "     CONSTRAINT select_constraint"
    " FOREIGN KEY(f_select_no) REFERENCES SELECT_DEV(select_no) );";

constexpr const char* kInsertVersion = "INSERT INTO DB_VERSION(version) VALUES(%d);";

/// Twice the limit.
constexpr const char* kCreateTrigger =
    "CREATE TRIGGER test_record_trigger AFTER UPDATE"
    "     ON TEST_RECORD WHEN %d < (SELECT COUNT() FROM TEST_RECORD)"
    "     BEGIN"
    "     DELETE FROM TEST_RECORD WHERE record_no IN"
    "     (SELECT record_no FROM TEST_RECORD ORDER BY record_no ASC"
    "      LIMIT (SELECT COUNT() FROM TEST_RECORD)-%d);"
    "     END;";

/// A table whose rows go with a record: those whose `column` is the `key` of a row of `owner`.
struct RecordTable {
    const char *name, *column, *owner, *key;
    const char* of_record;   ///< condition: rows of record %d
    const char* of_records;  ///< condition: rows of the records that %s selects
};

// Traces show statements, so that their texts are as fixed as those of messages. That is why the
// conditions stand here as they are, and are not made of the columns beside them.

// clang-format off
constexpr RecordTable part_of_record(const char* name) {
    return {name, "f_record_no", "TEST_RECORD", "record_no",
            "f_record_no = %d",
            "f_record_no IN     (%s)"};
}

constexpr RecordTable kTestRecord = {
    "TEST_RECORD", "record_no", nullptr, nullptr,
    "record_no = %d",
    "record_no IN     (%s)"};

constexpr RecordTable kRuntimeReport = part_of_record("RUNTIME_REPORT");
constexpr RecordTable kTestData = part_of_record("TEST_DATA");
constexpr RecordTable kRaidGroup = part_of_record("RAID_GROUP");

constexpr RecordTable kSelectDev = {
    "SELECT_DEV", "f_raid_no", "RAID_GROUP", "raid_no",
    "f_raid_no IN     (SELECT raid_no FROM RAID_GROUP WHERE f_record_no IN"
    "     (SELECT record_no FROM TEST_RECORD WHERE record_no=%d))",
    "f_raid_no IN     (SELECT raid_no FROM RAID_GROUP WHERE f_record_no IN     (%s))"};

/// A lower limit leaves samples behind: no condition for several records.
constexpr RecordTable kSsdRuntimeData = {
    "SSD_RUNTIME_DATA", "f_select_no", "SELECT_DEV", "select_no",
    "f_select_no IN     (SELECT select_no FROM SELECT_DEV WHERE f_raid_no IN"
    "     (SELECT raid_no FROM RAID_GROUP WHERE f_record_no=%d))",
    nullptr};
// clang-format on

/// Whatever belongs to something stands before it.
constexpr const RecordTable* kRecordTables[] = {&kSsdRuntimeData, &kSelectDev,     &kRaidGroup,
                                                &kTestData,       &kRuntimeReport, &kTestRecord};

/// Deletes the rows of one record from a table.
inline Sql deletion(const RecordTable& table, int record_no) {
    return sql("DELETE FROM %s WHERE %s;", table.name, sql(table.of_record, record_no).get());
}

}  // namespace ssd_op::db
