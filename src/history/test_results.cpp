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

using Marks = std::array<bool, SSD_OP_MAX_RATIOS>;

/// Updates the ratios that have a row already and says which.
Marks update_known(sqlite3* connection, const ssd_op_db_record& record, int count) {
    Marks updated{};
    for (int i = 0; i < count; ++i) {
        int rows = 0;
        db::query_number(connection,
                         db::sql("SELECT COUNT()     FROM TEST_DATA WHERE f_record_no=%d AND "
                                 "percentage=%d;",
                                 record.record_no, record.percentage[i]),
                         rows);
        if (rows <= 0) continue;
        db::execute(connection,
                    db::sql("UPDATE TEST_DATA SET result_1=%s,result_2=%s     WHERE f_record_no=%d "
                            "AND percentage=%d;",
                            base::decimal_text(record.result_1[i]).c_str(),
                            base::decimal_text(record.result_2[i]).c_str(), record.record_no,
                            record.percentage[i]));
        updated[static_cast<size_t>(i)] = true;
    }
    return updated;
}

bool insert_others(history::BulkInsert& rows, const ssd_op_db_record& record, int count,
                   const Marks& updated) {
    if (!rows) return false;
    for (int i = 0; i < count; ++i) {
        if (updated[static_cast<size_t>(i)]) continue;
        const std::string result_1 = base::decimal_text(record.result_1[i]);
        const std::string result_2 = base::decimal_text(record.result_2[i]);
        if (!rows.insert(record.percentage[i], std::string_view(result_1),
                         std::string_view(result_2), record.record_no))
            return false;
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
    const Marks updated = update_known(connection, *record, count);
    history::BulkInsert rows(function, connection, "INSERT INTO TEST_DATA VALUES (?1, ?2, ?3, ?4)");
    if (insert_others(rows, *record, count, updated)) {
        SM_TRACE(SM_TRACE_INFO, "%s: %s to insert test data.\n", function, "Success");
        return 0;
    }
    // Within the transaction a deletion would be rolled back with it.
    if (record->record_no > 0 && !rows.has_begun())
        db::execute(connection,
                    db::sql("DELETE FROM TEST_DATA WHERE f_record_no = %d;", record->record_no));
    SM_TRACE(SM_TRACE_INFO, "%s: %s to insert test data.\n", function, "Fail");
    return -1;
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
