// What was measured: results of the ratios, temperatures of a drive.

#include "base/number.h"
#include "db/database.h"
#include "db/list.h"
#include "db/overflow.h"
#include "db/queries.h"

namespace ssd_op::db {

bool query_results(ssd_op_db_record& record, int record_no) noexcept {
    return with_session("SSD_OP_DB_Query_Record_Test_Data", [&](Session& session) {
        record.count = 0;
        Overflow overflow(session.function());
        const Sql statement =
            sql("SELECT percentage,result_1,result_2"
                "     FROM TEST_DATA WHERE f_record_no=%d ORDER BY percentage ASC;",
                record_no);
        const bool is_read = session.query(statement, 3, [&](const Row& row) {
            if (!overflow.fits(record.count, SSD_OP_MAX_RATIOS)) return;
            const int i = record.count++;
            record.percentage[i] = row.integer(0);
            record.result_1[i] = base::decimal_value(row.text(1));
            record.result_2[i] = base::decimal_value(row.text(2));
        });
        return is_read || session.fail();
    });
}

bool query_temperatures(ssd_op_db_ssd_dev& drive, int record_no, int percentage) noexcept {
    return with_session("SSD_OP_DB_Query_SSD_Runtime_Data", [&](Session& session) {
        List<ssd_op_db_ssd_runtime_data> list(drive.runtime_data);
        const Sql statement =
            sql("SELECT percentage,time_slap,temperature FROM SSD_RUNTIME_DATA"
                "     WHERE percentage=%d AND f_select_no IN (SELECT select_no FROM SELECT_DEV"
                " WhERE dev_id=%d AND f_raid_no IN"
                "     (SELECT raid_no FROM RAID_GROUP WHERE f_record_no=%d));",
                percentage, static_cast<int>(drive.dev_id), record_no);
        const bool is_read = session.query(statement, 3, [&](const Row& row) {
            auto* node = list.append("ssd_op_db_ssd_runtime_data_callback");
            if (node == nullptr) return false;
            node->percentage = row.integer(0);
            node->time_slap = row.integer64(1);
            node->temperature = row.integer(2);
            return true;
        });
        return is_read || session.fail(statement);
    });
}

}  // namespace ssd_op::db
