// Imports, deletion, and how many records are kept.

#include "history/history.h"

#include "db/record_limit.h"
#include "db/record_owner.h"
#include "exports/answer.h"
#include "ssd_op.h"

using namespace ssd_op;
using namespace ssd_op::exports;

int SSD_OP_DB_Update_Test_Data(const ssd_op_db_record* record) {
    return record == nullptr ? no_input(__func__) : answer(history::store_results(*record));
}

int SSD_OP_DB_Update_Test_Result(int record_no, int percentage, long double result_1,
                                 long double result_2) {
    return base::guarded(__func__, -1, [&] {
        const db::RecordOwner record = db::new_record();
        record->record_no = record_no;
        record->count = 1;
        record->percentage[0] = percentage;
        record->result_1[0] = result_1;
        record->result_2[0] = result_2;
        return answer(history::store_results(*record));
    });
}

int SSD_OP_DB_Update_Runtime_Report(int record_no, int percentage, const char* report_csv,
                                    int reason_code) {
    return report_csv == nullptr ? no_input(__func__)
                                 : answer(history::import_runtime_report(record_no, percentage,
                                                                         report_csv, reason_code));
}

int SSD_OP_DB_Update_SSD_Runtime_Data(int record_no, int percentage, const char* runtime_csv) {
    return runtime_csv == nullptr
               ? no_input(__func__)
               : answer(history::import_temperatures(record_no, percentage, runtime_csv));
}

int SSD_OP_DB_Delete_Record(int record_no) { return history::delete_record(record_no); }

int SSD_OP_DB_Query_Max_Record_Limit() { return answer(db::query_record_limit()); }

int SSD_OP_DB_Update_Max_Record_Limit(int limit) {
    SM_TRACE(SM_TRACE_ENTRY, "%s: Enter,max_record_limit(%d).\n", __func__, limit);
    if (limit > 0) return answer(db::update_record_limit(limit));
    SM_TRACE(SM_TRACE_ERROR, "%s: The max record limit can't be zero.\n", __func__);
    return -1;
}
