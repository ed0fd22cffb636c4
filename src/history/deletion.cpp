// Deletion of one record or of all of them, with everything that belongs to them except the drives.

#include <algorithm>
#include <string>
#include <vector>

#include "db/database.h"
#include "db/record_owner.h"
#include "db/transaction.h"

namespace base = ssd_op::base;
namespace db = ssd_op::db;

namespace {

constexpr int kAllRecords = -1;

/// Deletes in one transaction, then compacts: a record is there with all its parts or not at all.
/// Of the statements that end nothing only the last counts, which deletes the records themselves.
/// What SQLite says of it, or of what ended the transaction.
int delete_rows(const char* function, sqlite3* connection, const std::vector<db::Sql>& statements) {
    db::Transaction transaction(connection);
    int result = transaction.failure();
    for (const db::Sql& statement : statements) result = transaction.run(statement);
    if (result == SQLITE_OK) result = transaction.commit();
    if (result == SQLITE_OK)
        db::execute(connection, "VACUUM;");
    else
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(delete.\n", function);
    return result;
}

std::vector<db::Sql> deletions_of_all() {
    std::vector<db::Sql> statements;
    for (const char* table : {"SSD_RUNTIME_DATA", "SELECT_DEV", "RAID_GROUP", "TEST_DATA",
                              "RUNTIME_REPORT", "TEST_RECORD"})
        statements.push_back(db::sql("DELETE FROM %s", table));
    return statements;
}

std::vector<db::Sql> deletions_of(int record_no) {
    std::vector<db::Sql> statements;
    for (const char* format :
         {"DELETE FROM SSD_RUNTIME_DATA WHERE f_select_no IN     (SELECT select_no FROM SELECT_DEV "
          "WHERE f_raid_no IN     (SELECT raid_no FROM RAID_GROUP WHERE f_record_no=%d));",
          "DELETE FROM SELECT_DEV WHERE f_raid_no IN     (SELECT raid_no FROM RAID_GROUP WHERE "
          "f_record_no IN     (SELECT record_no FROM TEST_RECORD WHERE record_no=%d));",
          "DELETE FROM RAID_GROUP WHERE f_record_no = %d;",
          "DELETE FROM TEST_DATA WHERE f_record_no = %d;",
          "DELETE FROM RUNTIME_REPORT WHERE f_record_no = %d;",
          "DELETE FROM TEST_RECORD WHERE record_no = %d;"})
        statements.push_back(db::sql(format, record_no));
    return statements;
}

int delete_all(const char* function) {
    std::vector<int> records(static_cast<size_t>(std::max(SSD_OP_DB_Query_Record_Count(), 1)));
    const int count = SSD_OP_DB_Query_Record_No(records.data(), static_cast<int>(records.size()));
    for (int i = 0; i < count; ++i)
        SSD_OP_Test_Remove_Runtime_Info(records[static_cast<size_t>(i)]);
    return db::with_session(function, -1, [&](sqlite3* connection) {
        return delete_rows(function, connection, deletions_of_all());
    });
}

int delete_one(const char* function, int record_no, std::string& title) {
    const db::RecordOwner record = db::load_record(record_no);
    if (!record) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to get record(%d) information.\n", function, record_no);
        return -1;
    }
    title = record->title;
    SSD_OP_Test_Remove_Runtime_Info(record_no);
    return db::with_session(function, -1, [&](sqlite3* connection) {
        return delete_rows(function, connection, deletions_of(record_no));
    });
}

}  // namespace

int SSD_OP_DB_Delete_Record(int record_no) {
    const char* function = __func__;
    return base::guarded(function, -1, [&] {
        SM_TRACE(SM_TRACE_ENTRY, "%s: Enter,record(%d).\n", function, record_no);
        std::string title;
        const int result = record_no == kAllRecords ? delete_all(function)
                                                    : delete_one(function, record_no, title);
        if (result != 0) {
            SM_TRACE(SM_TRACE_ERROR, "%s: Fail to delete data from database.\n", function);
            SSD_OP_Write_System_Log(nullptr, SSD_OP_EVENT_DELETE_FAILED, nullptr, nullptr);
        } else if (record_no == kAllRecords) {
            SSD_OP_Write_System_Log(nullptr, SSD_OP_EVENT_ALL_DELETED, nullptr, nullptr);
        } else {
            SSD_OP_Write_System_Log(nullptr, SSD_OP_EVENT_RECORD_DELETED, nullptr, title.c_str());
        }
        return result;
    });
}
