// The test script's runtime report into RUNTIME_REPORT.

#include <cstring>

#include "db/database.h"
#include "db/queries.h"
#include "event/event.h"
#include "history/history.h"
#include "history/import.h"
#include "runtime/skip_list.h"
#include "runtime/state_section.h"

namespace ssd_op::history {

namespace {

void remember_skipped_ratio(int record_no, int percentage) {
    const ssd_op_event_step detail{SSD_OP_STEP_SKIPPED, percentage};
    event::write(nullptr, SSD_OP_EVENT_STEP_FAILED, &record_no, &detail);
    const int skipped = runtime::read_addon(record_no, runtime::kSkippedCount).value_or(0);
    runtime::write_addon(record_no, runtime::kSkippedCount, skipped + 1);
    runtime::add_skipped(record_no, percentage);
}

/// Where the table has its two last columns. A table that an older version created got write_amount
/// at its end. The text of the insert is fixed, and names no columns.
enum class Order { kAmountFirst = 0, kRecordFirst = 1, kUnknown = -1 };

Order order_in(const char* creation_text) {
    const char* record = std::strstr(creation_text, "f_record_no");
    const char* amount = std::strstr(creation_text, "write_amount");
    if (record == nullptr || amount == nullptr) return Order::kUnknown;
    return record < amount ? Order::kRecordFirst : Order::kAmountFirst;
}

/// Reads the order of the table's columns. Without it nothing can be imported: an amount would
/// become the number of a record.
bool read_order(db::Session& session, Order& order) {
    const db::Sql statement =
        db::sql("SELECT sql FROM sqlite_master     WHERE tbl_name = '%s' AND type = 'table';",
                "RUNTIME_REPORT");
    const bool is_read = session.query(statement, 1, [&](const db::Row& row) {
        const char* text = row.text(0);
        SM_TRACE(SM_TRACE_INFO, "%s: tmp(%s).\n", "ssd_op_db_runtime_update_callback", text);
        if (text[0] != '\0') order = order_in(text);
    });
    SM_TRACE(SM_TRACE_INFO, "%s: is_update(%d).\n", session.function(), static_cast<int>(order));
    return is_read || session.fail(statement);
}

bool import_report(db::Session& session, int record_no, int percentage, const char* path) {
    Order order = Order::kAmountFirst;
    if (!read_order(session, order)) return false;
    return import_file(session, "INSERT INTO RUNTIME_REPORT VALUES (?1, ?2, ?3, ?4, ?5)", path,
                       [&](const SampleFile& line, BulkInsert& rows) {
                           const auto [time, result, third, fourth, amount] = line.fields<5>();
                           if (!is_complete(session.function(), time, amount)) return false;
                           if (order == Order::kAmountFirst)
                               return rows.insert(percentage, time, result, amount, record_no);
                           return rows.insert(percentage, time, result, record_no, amount);
                       });
}

}  // namespace

bool import_runtime_report(int record_no, int percentage, const char* path,
                           int reason_code) noexcept {
    constexpr const char* kFunction = "SSD_OP_DB_Update_Runtime_Report";
    if (db::is_unknown(kFunction, record_no)) return false;
    if (reason_code == SSD_OP_STEP_SKIPPED) remember_skipped_ratio(record_no, percentage);
    return db::with_session(kFunction, [&](db::Session& session) {
        const bool imported = import_report(session, record_no, percentage, path);
        SM_TRACE(SM_TRACE_INFO, "%s: %s to import runtime data into record(%d).\n", kFunction,
                 imported ? "Success" : "Fail", record_no);
        return imported;
    });
}

}  // namespace ssd_op::history
