// Results of ratios into TEST_DATA.

#include <algorithm>
#include <array>
#include <memory>
#include <string>

#include "base/number.h"
#include "base/owners.h"
#include "db/database.h"
#include "history/bulk_insert.h"
#include "history/history.h"

namespace base = ssd_op::base;
namespace db = ssd_op::db;
namespace history = ssd_op::history;

namespace {

/// Updates the ratio's row, if it has one, and says so in `known`. Whether it went well.
bool update(const char* function, db::Transaction& transaction, const ssd_op_db_record& record,
            int i, bool& known) {
    int rows = 0;
    const db::Sql count =
        db::sql("SELECT COUNT()     FROM TEST_DATA WHERE f_record_no=%d AND percentage=%d;",
                record.record_no, record.percentage[i]);
    const db::Sql update = db::sql(
        "UPDATE TEST_DATA SET result_1=%s,result_2=%s     WHERE f_record_no=%d AND "
        "percentage=%d;",
        base::decimal_text(record.result_1[i]).c_str(),
        base::decimal_text(record.result_2[i]).c_str(), record.record_no, record.percentage[i]);
    int result = transaction.query(count, 1, [&](const db::Row& row) { rows = row.integer(0); });
    known = rows > 0;
    if (result == SQLITE_OK && known) result = transaction.run(update);
    if (result == SQLITE_OK) return true;
    SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(%s).\n", function,
             (known ? update : count).get());
    return false;
}

bool insert(history::BulkInsert& rows, const ssd_op_db_record& record, int i) {
    const std::string result_1 = base::decimal_text(record.result_1[i]);
    const std::string result_2 = base::decimal_text(record.result_2[i]);
    return rows.insert(record.percentage[i], std::string_view(result_1), std::string_view(result_2),
                       record.record_no);
}

/// All ratios are updated before the first is inserted: one that the record names twice gets two
/// rows.
bool store(const char* function, sqlite3* connection, const ssd_op_db_record& record, int count) {
    history::BulkInsert rows(function, connection, "INSERT INTO TEST_DATA VALUES (?1, ?2, ?3, ?4)");
    if (!rows) return false;
    std::array<bool, SSD_OP_MAX_RATIOS> known{};
    for (int i = 0; i < count; ++i) {
        if (!update(function, rows.transaction(), record, i, known[static_cast<size_t>(i)]))
            return false;
    }
    for (int i = 0; i < count; ++i) {
        if (!known[static_cast<size_t>(i)] && !insert(rows, record, i)) return false;
    }
    return rows.finish();
}

}  // namespace

int ssd_op_db_insert_test_data(sqlite3* connection, const ssd_op_db_record* record) {
    const char* function = __func__;
    if (record == nullptr) {
        SM_TRACE(SM_TRACE_ERROR, "%s: record is NULL.\n", function);
        return -1;
    }
    if (record->count < 1) {
        SM_TRACE(SM_TRACE_ERROR, "%s: record count is less than 1.\n", function);
        return -1;
    }
    const int count = std::min(record->count, SSD_OP_MAX_RATIOS);
    if (count < record->count)
        SM_TRACE(SM_TRACE_ERROR, "%s: record count is %d, the first %d are stored.\n", function,
                 record->count, count);
    const bool stored = store(function, connection, *record, count);
    SM_TRACE(SM_TRACE_INFO, "%s: %s to insert test data.\n", function, stored ? "Success" : "Fail");
    return stored ? 0 : -1;
}

int SSD_OP_DB_Update_Test_Data(ssd_op_db_record* record) {
    const char* function = __func__;
    if (record == nullptr) {
        SM_TRACE(SM_TRACE_ERROR, "%s: The input record is NULL.\n", function);
        return -1;
    }
    return db::with_session(function, -1, [&](sqlite3* connection) {
        const int result = ssd_op_db_insert_test_data(connection, record);
        if (result != 0) SM_TRACE(SM_TRACE_ERROR, "%s: Fail to insert data.\n", function);
        return result;
    });
}

int SSD_OP_DB_Update_Test_Result(int record_no, int percentage, long double result_1,
                                 long double result_2) {
    base::HeapBlock<ssd_op_db_record> record = base::make_zeroed<ssd_op_db_record>();
    if (!record) {
        base::trace_out_of_memory(__func__);
        return -1;
    }
    record->record_no = record_no;
    record->count = 1;
    record->percentage[0] = percentage;
    record->result_1[0] = result_1;
    record->result_2[0] = result_2;
    return SSD_OP_DB_Update_Test_Data(record.get());
}
