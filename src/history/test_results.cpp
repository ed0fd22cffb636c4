// Results of ratios into TEST_DATA.

#include <algorithm>
#include <array>
#include <string>

#include "base/number.h"
#include "db/database.h"
#include "history/bulk_insert.h"
#include "history/history.h"

namespace ssd_op::history {

namespace {

constexpr const char* kFunction = "ssd_op_db_insert_test_data";

/// Updates the ratio's row, if it has one, and says so in `known`. Whether it went well.
bool update(db::Transaction& transaction, const ssd_op_db_record& record, int i, bool& known) {
    int rows = 0;
    const db::Sql count =
        db::sql("SELECT COUNT()     FROM TEST_DATA WHERE f_record_no=%d AND percentage=%d;",
                record.record_no, record.percentage[i]);
    const db::Sql update = db::sql(
        "UPDATE TEST_DATA SET result_1=%s,result_2=%s"
        "     WHERE f_record_no=%d AND percentage=%d;",
        base::decimal_text(record.result_1[i]).c_str(),
        base::decimal_text(record.result_2[i]).c_str(), record.record_no, record.percentage[i]);
    bool done = transaction.query(count, 1, [&](const db::Row& row) { rows = row.integer(0); });
    known = rows > 0;
    if (done && known) done = transaction.run(update);
    if (!done)
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(%s).\n", kFunction,
                 (known ? update : count).get());
    return done;
}

bool insert(BulkInsert& rows, const ssd_op_db_record& record, int i) {
    const std::string result_1 = base::decimal_text(record.result_1[i]);
    const std::string result_2 = base::decimal_text(record.result_2[i]);
    return rows.insert(record.percentage[i], std::string_view(result_1), std::string_view(result_2),
                       record.record_no);
}

/// All ratios are updated before the first is inserted: one that the record names twice gets two
/// rows.
bool store(db::Session& session, const ssd_op_db_record& record, int count) {
    BulkInsert rows(session, kFunction, "INSERT INTO TEST_DATA VALUES (?1, ?2, ?3, ?4)");
    if (!rows) return false;
    std::array<bool, SSD_OP_MAX_RATIOS> known{};
    for (int i = 0; i < count; ++i) {
        if (!update(rows.transaction(), record, i, known[static_cast<size_t>(i)])) return false;
    }
    for (int i = 0; i < count; ++i) {
        if (!known[static_cast<size_t>(i)] && !insert(rows, record, i)) return false;
    }
    return rows.finish();
}

/// Updates the ratios that have results and inserts the others, all of it or nothing. More than
/// SSD_OP_MAX_RATIOS are not looked at.
bool insert_test_data(db::Session& session, const ssd_op_db_record& record) {
    if (record.count < 1) {
        SM_TRACE(SM_TRACE_ERROR, "%s: record count is less than 1.\n", kFunction);
        return false;
    }
    const int count = std::min(record.count, SSD_OP_MAX_RATIOS);
    if (count < record.count)
        SM_TRACE(SM_TRACE_ERROR, "%s: record count is %d, the first %d are stored.\n", kFunction,
                 record.count, count);
    const bool stored = store(session, record, count);
    SM_TRACE(SM_TRACE_INFO, "%s: %s to insert test data.\n", kFunction,
             stored ? "Success" : "Fail");
    return stored;
}

}  // namespace

bool store_results(const ssd_op_db_record& record) noexcept {
    constexpr const char* kExported = "SSD_OP_DB_Update_Test_Data";
    return db::with_session(kExported, [&](db::Session& session) {
        const bool stored = insert_test_data(session, record);
        if (!stored) SM_TRACE(SM_TRACE_ERROR, "%s: Fail to insert data.\n", kExported);
        return stored;
    });
}

}  // namespace ssd_op::history
