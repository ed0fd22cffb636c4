#include "db/record_limit.h"

#include <cstdlib>
#include <cstring>

#include "db/database.h"
#include "db/schema.h"
#include "db/transaction.h"

namespace ssd_op::db {

int read_record_limit(sqlite3* db, int& limit) {
    const Sql statement =
        sql("SELECT sql FROM sqlite_master     WHERE type='trigger' AND tbl_name='TEST_RECORD' AND "
            "name='test_record_trigger';");
    return query(db, statement, 1, [&](const Row& row) {
        constexpr const char* kBefore = "ON TEST_RECORD WHEN";
        const char* text = row.text(0);
        const char* before = std::strstr(text, kBefore);
        const char* after = std::strchr(text, '<');
        if (before == nullptr || after == nullptr) return false;
        // strtol stops at the '<' by itself.
        limit = static_cast<int>(std::strtol(before + std::strlen(kBefore), nullptr, 10));
        return true;
    });
}

}  // namespace ssd_op::db

namespace db = ssd_op::db;

namespace {

/// Deletes what belongs to the oldest records beyond the limit, the records themselves last.
void delete_beyond(db::Transaction& transaction, int limit) {
    for (const char* format :
         {"DELETE FROM RUNTIME_REPORT WHERE f_record_no IN     (SELECT record_no FROM TEST_RECORD "
          "ORDER BY record_no ASC      LIMIT(SELECT COUNT() FROM TEST_RECORD)-%d);",
          "DELETE FROM TEST_DATA WHERE f_record_no IN     (SELECT record_no FROM TEST_RECORD ORDER "
          "BY record_no ASC      LIMIT(SELECT COUNT() FROM TEST_RECORD)-%d);",
          "DELETE FROM SELECT_DEV WHERE f_raid_no IN     (SELECT raid_no FROM RAID_GROUP WHERE "
          "f_record_no IN     (SELECT record_no FROM TEST_RECORD ORDER BY record_no ASC      "
          "LIMIT(SELECT COUNT() FROM TEST_RECORD)-%d));",
          "DELETE FROM RAID_GROUP WHERE f_record_no IN     (SELECT record_no FROM TEST_RECORD "
          "ORDER BY record_no ASC      LIMIT(SELECT COUNT() FROM TEST_RECORD)-%d);",
          "DELETE FROM TEST_RECORD WHERE record_no IN     (SELECT record_no FROM TEST_RECORD ORDER "
          "BY record_no ASC      LIMIT(SELECT COUNT() FROM TEST_RECORD)-%d);"})
        transaction.run(db::sql(format, limit));
}

int change_limit(const char* function, sqlite3* connection, int limit) {
    const db::Sql create = db::sql(db::kCreateTrigger, limit, limit);
    db::Transaction transaction(connection);
    transaction.run(db::sql("DROP TRIGGER %s;", "test_record_trigger"));
    int count = 0;
    transaction.query(db::sql("SELECT COUNT() FROM %s;", "TEST_RECORD"), 1,
                      [&](const db::Row& row) { count = row.integer(0); });
    if (limit < count) delete_beyond(transaction, limit);
    transaction.require(create);
    if (transaction.commit() == SQLITE_OK) return 0;
    SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(%s).\n", function, create.get());
    return -1;
}

}  // namespace

int SSD_OP_DB_Query_Max_Record_Limit() {
    const char* function = __func__;
    return db::with_session(function, -1, [&](sqlite3* connection) {
        int limit = db::kDefaultRecordLimit;
        if (db::read_record_limit(connection, limit) == SQLITE_OK) return limit;
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(select).\n", function);
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to query max record limit from database.\n", function);
        return db::kDefaultRecordLimit;
    });
}

int SSD_OP_DB_Update_Max_Record_Limit(int limit) {
    const char* function = __func__;
    SM_TRACE(SM_TRACE_ENTRY, "%s: Enter,max_record_limit(%d).\n", function, limit);
    if (limit <= 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: The max record limit can't be zero.\n", function);
        return -1;
    }
    return db::with_session(function, -1, [&](sqlite3* connection) {
        return change_limit(function, connection, limit);
    });
}
