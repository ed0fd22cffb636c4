// What was measured: results of the ratios, temperatures of a drive.

#include "base/number.h"
#include "db/database.h"
#include "db/list.h"
#include "db/overflow.h"

namespace base = ssd_op::base;
namespace db = ssd_op::db;

namespace {

int parameter_error(const char* function) {
    SM_TRACE(SM_TRACE_ERROR, "%s: Parameter error.\n", function);
    return -1;
}

int failed(const char* function, const char* what) {
    SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(%s).\n", function, what);
    return -1;
}

}  // namespace

int SSD_OP_DB_Query_Record_Test_Data(ssd_op_db_record* record, int record_no) {
    const char* function = __func__;
    if (record == nullptr) return parameter_error(function);
    return db::with_session(function, -1, [&](sqlite3* connection) {
        record->count = 0;
        db::Overflow overflow(function);
        const db::Sql statement = db::sql(
            "SELECT percentage,result_1,result_2     FROM TEST_DATA WHERE f_record_no=%d ORDER BY "
            "percentage ASC;",
            record_no);
        const int result = db::query(connection, statement, 3, [&](const db::Row& row) {
            if (!overflow.fits(record->count, SSD_OP_MAX_RATIOS)) return;
            const int i = record->count++;
            record->percentage[i] = row.integer(0);
            record->result_1[i] = base::decimal_value(row.text(1));
            record->result_2[i] = base::decimal_value(row.text(2));
        });
        return result == SQLITE_OK ? 0 : failed(function, db::error_text(connection, result));
    });
}

int SSD_OP_DB_Query_SSD_Runtime_Data(ssd_op_db_ssd_dev* ssd, int record_no, int percentage) {
    const char* function = __func__;
    if (ssd == nullptr) return parameter_error(function);
    return db::with_session(function, -1, [&](sqlite3* connection) {
        db::List<ssd_op_db_ssd_runtime_data> list(ssd->runtime_data);
        const db::Sql statement = db::sql(
            "SELECT percentage,time_slap,temperature FROM SSD_RUNTIME_DATA     WHERE percentage=%d "
            "AND f_select_no IN (SELECT select_no FROM SELECT_DEV WhERE dev_id=%d AND f_raid_no IN "
            "    (SELECT raid_no FROM RAID_GROUP WHERE f_record_no=%d));",
            percentage, static_cast<int>(ssd->dev_id), record_no);
        const int result = db::query(connection, statement, 3, [&](const db::Row& row) {
            auto* node = list.append("ssd_op_db_ssd_runtime_data_callback");
            if (node == nullptr) return false;
            node->percentage = row.integer(0);
            node->time_slap = row.integer64(1);
            node->temperature = row.integer(2);
            return true;
        });
        return result == SQLITE_OK ? 0 : failed(function, statement.get());
    });
}
