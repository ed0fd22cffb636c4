// Changes of single fields of a record, and whether it exists.

#include "db/database.h"

namespace base = ssd_op::base;
namespace db = ssd_op::db;

namespace {

/// One UPDATE. A record that does not exist is not an error: nothing changes.
template <typename... Values>
int update(base::Caller caller, const char* format, Values... values) {
    return db::with_session(caller, -1, [&](sqlite3* connection) {
        if (db::execute(connection, db::sql(format, values...)) == SQLITE_OK) return 0;
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(update).\n", caller.function);
        return -1;
    });
}

const char* performance_column(bool is_write, bool is_sequential) {
    if (is_write) return is_sequential ? "performance_write_s" : "performance_write_r";
    return is_sequential ? "performance_read_s" : "performance_read_r";
}

}  // namespace

int SSD_OP_DB_Update_Record_Test_Size(unsigned long long test_size, int record_no) {
    return update(__func__, "UPDATE TEST_RECORD SET test_size='%llu' WHERE record_no='%d';",
                  test_size, record_no);
}

int SSD_OP_DB_Update_Record_LV_Size(unsigned long long lv_size, int record_no) {
    return update(__func__, "UPDATE TEST_RECORD SET lv_size='%llu' WHERE record_no='%d';", lv_size,
                  record_no);
}

int SSD_OP_DB_Update_Record_RAID_Capacity(unsigned long long capacity, int record_no, int raid_id) {
    return update(__func__,
                  "UPDATE RAID_GROUP SET raid_capacity='%llu' WHERE f_record_no='%d'     AND "
                  "raid_id='%d';",
                  capacity, record_no, raid_id);
}

int SSD_OP_DB_Update_Record_Status(int status, int record_no) {
    return update(__func__, "UPDATE TEST_RECORD SET status='%d' WHERE record_no='%d';", status,
                  record_no);
}

int SSD_OP_DB_Update_Record_End_Time(int end_time, int record_no) {
    return update(__func__, "UPDATE TEST_RECORD SET end_time='%d' WHERE record_no='%d';", end_time,
                  record_no);
}

int SSD_OP_DB_Update_Disk_Performance(int record_no, int raid_id, int dev_id, int is_write,
                                      int is_sequential, unsigned long long value) {
    const char* function = __func__;
    return db::with_session(function, -1, [&](sqlite3* connection) {
        const db::Sql statement = db::sql(
            "UPDATE SELECT_DEV SET %s='%llu'     WHERE dev_id=%d AND f_raid_no IN     (SELECT "
            "raid_no FROM RAID_GROUP WHERE raid_id=%d AND f_record_no=%d);",
            performance_column(is_write != 0, is_sequential != 0), value, dev_id, raid_id,
            record_no);
        SM_TRACE(SM_TRACE_INFO, "%s: sql_cmd(%s).\n", function, statement.get());
        if (db::execute(connection, statement) == SQLITE_OK) return 0;
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(update).\n", function);
        return -1;
    });
}

int SSD_OP_DB_Record_Is_Exist(int record_no) {
    const char* function = __func__;
    return db::with_session(function, -1, [&](sqlite3* connection) {
        int count = 0;
        if (db::query_number(
                connection,
                db::sql("SELECT COUNT() FROM TEST_RECORD WHERE record_no='%d';", record_no),
                count) != SQLITE_OK)
            SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(update).\n", function);
        return count;
    });
}
