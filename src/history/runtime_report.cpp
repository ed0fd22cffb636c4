// The test script's runtime report into RUNTIME_REPORT.

#include <cstring>

#include "db/database.h"
#include "history/import.h"

namespace db = ssd_op::db;
namespace history = ssd_op::history;

namespace {

constexpr int kSkippedRatio = 254;  // the script's code for a ratio that it could not set

void remember_skipped_ratio(int record_no, int percentage) {
    const ssd_op_event_step detail{kSkippedRatio, percentage};
    SSD_OP_Write_System_Log(nullptr, SSD_OP_EVENT_STEP_FAILED, &record_no, &detail);
    int skipped = 0;
    SSD_OP_Test_Get_Skip_OP_Count(record_no, &skipped);
    SSD_OP_Test_Set_Skip_OP_Count(record_no, skipped + 1);
    SSD_OP_Test_Add_Skip_OP(record_no, percentage);
}

/// Where the table has its two last columns. A table that an older version created got write_amount
/// at its end.
enum class Order { kAmountFirst = 0, kRecordFirst = 1, kUnknown = -1 };

Order order_in(const char* creation_text) {
    const char* record = std::strstr(creation_text, "f_record_no");
    const char* amount = std::strstr(creation_text, "write_amount");
    if (record == nullptr || amount == nullptr) return Order::kUnknown;
    return record < amount ? Order::kRecordFirst : Order::kAmountFirst;
}

/// Reads the order of the table's columns. Without it nothing can be imported: an amount would
/// become the number of a record.
bool read_order(const char* function, sqlite3* connection, Order& order) {
    const db::Sql statement =
        db::sql("SELECT sql FROM sqlite_master     WHERE tbl_name = '%s' AND type = 'table';",
                "RUNTIME_REPORT");
    const int result = db::query(connection, statement, 1, [&](const db::Row& row) {
        const char* text = row.text(0);
        SM_TRACE(SM_TRACE_INFO, "%s: tmp(%s).\n", "ssd_op_db_runtime_update_callback", text);
        if (text[0] != '\0') order = order_in(text);
    });
    SM_TRACE(SM_TRACE_INFO, "%s: is_update(%d).\n", function, static_cast<int>(order));
    if (result == SQLITE_OK) return true;
    SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(%s).\n", function, statement.get());
    return false;
}

struct Sample {
    int record_no;
    int percentage;
    Order order;
};

bool insert_line(const char* function, const history::SampleFile& line, history::BulkInsert& rows,
                 const Sample& sample) {
    const auto [time, result, third, fourth, amount] = line.fields<5>();
    if (time.empty()) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to split time token by ','.\n", function);
        return false;
    }
    if (amount.empty()) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to split result token by ','.\n", function);
        return false;
    }
    if (sample.order == Order::kAmountFirst)
        return rows.insert(sample.percentage, time, result, amount, sample.record_no);
    return rows.insert(sample.percentage, time, result, sample.record_no, amount);
}

bool import_report(const char* function, sqlite3* connection, int record_no, int percentage,
                   const char* path) {
    Sample sample{record_no, percentage, Order::kAmountFirst};
    if (!read_order(function, connection, sample.order)) return false;
    return history::import_file(function, connection,
                                "INSERT INTO RUNTIME_REPORT VALUES (?1, ?2, ?3, ?4, ?5)", path,
                                [&](const history::SampleFile& line, history::BulkInsert& rows) {
                                    return insert_line(function, line, rows, sample);
                                });
}

}  // namespace

int SSD_OP_DB_Update_Runtime_Report(int record_no, int percentage, const char* report_csv,
                                    int reason_code) {
    const char* function = __func__;
    if (report_csv == nullptr) {
        SM_TRACE(SM_TRACE_ERROR, "%s: The input record is NULL.\n", function);
        return -1;
    }
    if (SSD_OP_DB_Record_Is_Exist(record_no) == 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: The record(%d) is not exist.\n", function, record_no);
        return -1;
    }
    if (reason_code == kSkippedRatio) remember_skipped_ratio(record_no, percentage);
    return db::with_session(function, -1, [&](sqlite3* connection) {
        const bool imported =
            import_report(function, connection, record_no, percentage, report_csv);
        SM_TRACE(SM_TRACE_INFO, "%s: %s to import runtime data into record(%d).\n", function,
                 imported ? "Success" : "Fail", record_no);
        return imported ? 0 : -1;
    });
}
