// Queries whose answer is a number or a list of numbers.

#include <string>

#include "db/database.h"
#include "db/overflow.h"

namespace db = ssd_op::db;

namespace {

int parameter_error(const char* function) {
    SM_TRACE(SM_TRACE_ERROR, "%s: Parameter error.\n", function);
    return -1;
}

int failed_select(const char* function) {
    SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(select).\n", function);
    return -1;
}

/// Whether a record is known to be missing. A check that cannot open the database says no: the
/// query that follows then reports that.
bool is_unknown(const char* function, int record_no) {
    if (SSD_OP_DB_Record_Is_Exist(record_no) != 0) return false;
    SM_TRACE(SM_TRACE_ERROR, "%s: The record(%d) is not exist.\n", function, record_no);
    return true;
}

/// Stores the first column of up to `max` rows and returns how many there are.
int query_list(const char* function, sqlite3* connection, const db::Sql& statement, int* numbers,
               int max) {
    int count = 0;
    db::Overflow overflow(function);
    const int result = db::query(connection, statement, 1, [&](const db::Row& row) {
        if (overflow.fits(count, max)) numbers[count++] = row.integer(0);
    });
    return result == SQLITE_OK ? count : failed_select(function);
}

std::string comma_list(const int* numbers, int count) {
    std::string list;
    for (int i = 0; i < count; ++i) {
        if (i > 0) list += ',';
        list += std::to_string(numbers[i]);
    }
    return list;
}

}  // namespace

int SSD_OP_DB_Query_Record_No(int* record_nos, int max) {
    const char* function = __func__;
    if (record_nos == nullptr || max <= 0) return parameter_error(function);
    return db::with_session(function, -1, [&](sqlite3* connection) {
        const db::Sql statement =
            db::sql("SELECT record_no FROM TEST_RECORD ORDER BY record_no LIMIT %d;", max);
        return query_list(function, connection, statement, record_nos, max);
    });
}

int SSD_OP_DB_Query_Record_Count() {
    const char* function = __func__;
    return db::with_session(function, -1, [&](sqlite3* connection) {
        int count = 0;
        const int result =
            db::query_number(connection, db::sql("SELECT COUNT() FROM %s;", "TEST_RECORD"), count);
        return result == SQLITE_OK ? count : failed_select(function);
    });
}

int SSD_OP_DB_Get_Newest_Record() {
    const char* function = __func__;
    return db::with_session(function, -1, [&](sqlite3* connection) {
        int newest = 0;
        // Counted while this session is held, so that the count is still true afterwards.
        if (SSD_OP_DB_Query_Record_Count() < 1) return newest;
        const db::Sql statement =
            db::sql("SELECT record_no FROM TEST_RECORD ORDER BY record_no DESC LIMIT %d;", 1);
        if (db::query_number(connection, statement, newest) != SQLITE_OK)
            SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(update).\n", function);
        return newest;
    });
}

int SSD_OP_DB_Query_Record_Status(int record_no) {
    const char* function = __func__;
    return db::with_session(function, -1, [&](sqlite3* connection) {
        // One way through the database also tells whether there is such a record: this is what
        // whoever watches a test asks all the time.
        int status = -1;
        bool exists = false;
        const int result = db::query(
            connection, db::sql("SELECT status FROM TEST_RECORD WHERE record_no='%d';", record_no),
            1, [&](const db::Row& row) {
                exists = true;
                status = row.integer(0);
            });
        if (result != SQLITE_OK)
            SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(%s).\n", function,
                     db::error_text(connection, result));
        else if (!exists)
            SM_TRACE(SM_TRACE_ERROR, "%s: The record(%d) is not exist.\n", function, record_no);
        return status;
    });
}

int SSD_OP_DB_Query_SSD_Select_No(int record_no, int raid_id, int dev_id) {
    const char* function = __func__;
    if (is_unknown(function, record_no)) return -1;
    return db::with_session(function, -1, [&](sqlite3* connection) {
        int select_no = 0;
        const int result = db::query_number(
            connection,
            db::sql("SELECT select_no FROM SELECT_DEV WHERE f_raid_no IN     (SELECT raid_no FROM "
                    "RAID_GROUP WHERE raid_id = %d AND f_record_no = %d) AND dev_id = %d;",
                    raid_id, record_no, dev_id),
            select_no);
        if (result == SQLITE_OK) return select_no;
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(%s).\n", function,
                 db::error_text(connection, result));
        return -1;
    });
}

int SSD_OP_DB_Query_SSD_In_Testing(int* dev_ids, int n) {
    const char* function = __func__;
    if (dev_ids == nullptr) return parameter_error(function);
    if (n <= 0) return 0;
    return db::with_session(function, 0, [&](sqlite3* connection) {
        const int running[] = {SSD_OP_TEST_STATUS_INITIATING, SSD_OP_TEST_STATUS_TESTING,
                               SSD_OP_TEST_STATUS_FINISHING};
        int count = 0;
        const int result = db::query_number(
            connection,
            db::sql("SELECT count() FROM     (SELECT dev_id FROM SELECT_DEV WHERE f_raid_no IN     "
                    "(SELECT raid_no FROM RAID_GROUP WHERE f_record_no IN     (SELECT record_no "
                    "FROM 'TEST_RECORD' WHERE status IN (%s)     ORDER BY record_no DESC LIMIT "
                    "0,1))) WHERE dev_id IN (%s);",
                    comma_list(running, 3).c_str(), comma_list(dev_ids, n).c_str()),
            count);
        if (result != SQLITE_OK) failed_select(function);
        return count > 0 ? 1 : 0;
    });
}

int SSD_OP_DB_Query_Runtime_Percentage(int* percentages, int max, int record_no) {
    const char* function = __func__;
    if (percentages == nullptr || max <= 0) return parameter_error(function);
    return db::with_session(function, -1, [&](sqlite3* connection) {
        const db::Sql statement = db::sql(
            "SELECT DISTINCT percentage     FROM RUNTIME_REPORT WHERE f_record_no=%d;", record_no);
        return query_list(function, connection, statement, percentages, max);
    });
}

int SSD_OP_DB_Query_Record_Runtime_Count(int record_no, int percentage) {
    const char* function = __func__;
    return db::with_session(function, -1, [&](sqlite3* connection) {
        int count = 0;
        const db::Sql statement = db::sql(
            "SELECT COUNT() FROM RUNTIME_REPORT     WHERE f_record_no=%d AND percentage=%d;",
            record_no, percentage);
        if (db::query_number(connection, statement, count) != SQLITE_OK)
            SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(%s).\n", function, statement.get());
        return count;
    });
}
