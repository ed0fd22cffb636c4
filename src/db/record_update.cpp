// Changes of single fields of a record.

#include "db/database.h"
#include "db/records.h"

namespace ssd_op::db {

namespace {

/// One UPDATE. A record that does not exist is not an error: nothing changes.
template <typename... Values>
bool update(const char* function, const char* format, Values... values) noexcept {
    return with_session(function, [&](Session& session) {
        return session.execute(sql(format, values...)) || session.fail("update");
    });
}

const char* performance_column(Figure figure) {
    if (figure.is_write)
        return figure.is_sequential ? "performance_write_s" : "performance_write_r";
    return figure.is_sequential ? "performance_read_s" : "performance_read_r";
}

}  // namespace

bool update_test_size(int record_no, unsigned long long mib) noexcept {
    return update("SSD_OP_DB_Update_Record_Test_Size",
                  "UPDATE TEST_RECORD SET test_size='%llu' WHERE record_no='%d';", mib, record_no);
}

bool update_lv_size(int record_no, unsigned long long mib) noexcept {
    return update("SSD_OP_DB_Update_Record_LV_Size",
                  "UPDATE TEST_RECORD SET lv_size='%llu' WHERE record_no='%d';", mib, record_no);
}

bool update_raid_capacity(int record_no, int raid_id, unsigned long long kib) noexcept {
    return update("SSD_OP_DB_Update_Record_RAID_Capacity",
                  "UPDATE RAID_GROUP SET raid_capacity='%llu' WHERE f_record_no='%d'"
                  "     AND raid_id='%d';",
                  kib, record_no, raid_id);
}

bool update_status(int record_no, int status) noexcept {
    return update("SSD_OP_DB_Update_Record_Status",
                  "UPDATE TEST_RECORD SET status='%d' WHERE record_no='%d';", status, record_no);
}

bool update_end_time(int record_no, int end_time) noexcept {
    return update("SSD_OP_DB_Update_Record_End_Time",
                  "UPDATE TEST_RECORD SET end_time='%d' WHERE record_no='%d';", end_time,
                  record_no);
}

bool update_performance(int record_no, int raid_id, int dev_id, Figure figure,
                        unsigned long long value) noexcept {
    constexpr const char* kFunction = "SSD_OP_DB_Update_Disk_Performance";
    return with_session(kFunction, [&](Session& session) {
        const Sql statement =
            sql("UPDATE SELECT_DEV SET %s='%llu'"
                "     WHERE dev_id=%d AND f_raid_no IN"
                "     (SELECT raid_no FROM RAID_GROUP WHERE raid_id=%d AND f_record_no=%d);",
                performance_column(figure), value, dev_id, raid_id, record_no);
        SM_TRACE(SM_TRACE_INFO, "%s: sql_cmd(%s).\n", kFunction, statement.get());
        return session.execute(statement) || session.fail("update");
    });
}

}  // namespace ssd_op::db
