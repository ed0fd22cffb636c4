#include "db/queries.h"

#include "exports/answer.h"
#include "ssd_op.h"

using namespace ssd_op;
using namespace ssd_op::exports;

namespace {

std::span<int> room_for(int* numbers, int max) { return {numbers, static_cast<size_t>(max)}; }

}  // namespace

int SSD_OP_DB_Query_Record(int record_no, ssd_op_db_record* record) {
    return record == nullptr ? parameter_error(__func__)
                             : answer(db::query_record(record_no, *record));
}

int SSD_OP_DB_Query_Record_Simple(ssd_op_db_record** list, int offset, int count, int status) {
    return list == nullptr ? parameter_error(__func__)
                           : answer(db::query_page(*list, offset, count, status));
}

int SSD_OP_DB_Query_Record_No(int* record_nos, int max) {
    return record_nos == nullptr || max <= 0
               ? parameter_error(__func__)
               : answer(db::query_record_nos(room_for(record_nos, max)));
}

int SSD_OP_DB_Query_Record_Count() { return answer(db::query_record_count()); }

int SSD_OP_DB_Get_Newest_Record() { return answer(db::query_newest_record()); }

int SSD_OP_DB_Query_Record_Status(int record_no) { return answer(db::query_status(record_no)); }

int SSD_OP_DB_Query_SSD_Select_No(int record_no, int raid_id, int dev_id) {
    return answer(db::query_select_no(record_no, raid_id, dev_id));
}

int SSD_OP_DB_Query_SSD_In_Testing(int* dev_ids, int n) {
    if (dev_ids == nullptr) return parameter_error(__func__);
    return n > 0 && db::is_one_in_test(room_for(dev_ids, n)) ? 1 : 0;
}

int SSD_OP_DB_Query_Runtime_Percentage(int* percentages, int max, int record_no) {
    return percentages == nullptr || max <= 0
               ? parameter_error(__func__)
               : answer(db::query_ratios(record_no, room_for(percentages, max)));
}

int SSD_OP_DB_Query_Record_Runtime_Count(int record_no, int percentage) {
    return answer(db::query_sample_count(record_no, percentage));
}

int SSD_OP_DB_Query_Record_Test_Data(ssd_op_db_record* record, int record_no) {
    return record == nullptr ? parameter_error(__func__)
                             : answer(db::query_results(*record, record_no));
}

int SSD_OP_DB_Query_Record_Runtime_Report(ssd_op_db_record* record, int record_no, int percentage,
                                          int every) {
    return record == nullptr ? parameter_error(__func__)
                             : answer(db::query_samples(*record, record_no, percentage, every));
}

int SSD_OP_DB_Query_SSD_Runtime_Data(ssd_op_db_ssd_dev* ssd, int record_no, int percentage) {
    return ssd == nullptr ? parameter_error(__func__)
                          : answer(db::query_temperatures(*ssd, record_no, percentage));
}
