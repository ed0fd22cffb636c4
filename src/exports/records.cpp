// Records: creation, changes of single fields, release.

#include "db/records.h"

#include "db/queries.h"
#include "db/record_owner.h"
#include "exports/answer.h"
#include "ssd_op.h"

using namespace ssd_op;
using namespace ssd_op::exports;

int SSD_OP_DB_New_Record(ssd_op_db_record* record) {
    if (record != nullptr) return answer(db::create_record(*record));
    SM_TRACE(SM_TRACE_ENTRY, "%s: Enter.\n", __func__);
    return no_input(__func__);
}

int SSD_OP_DB_Update_Record_Test_Size(unsigned long long test_size, int record_no) {
    return answer(db::update_test_size(record_no, test_size));
}

int SSD_OP_DB_Update_Record_LV_Size(unsigned long long lv_size, int record_no) {
    return answer(db::update_lv_size(record_no, lv_size));
}

int SSD_OP_DB_Update_Record_RAID_Capacity(unsigned long long capacity, int record_no, int raid_id) {
    return answer(db::update_raid_capacity(record_no, raid_id, capacity));
}

int SSD_OP_DB_Update_Record_Status(int status, int record_no) {
    return answer(db::update_status(record_no, status));
}

int SSD_OP_DB_Update_Record_End_Time(int end_time, int record_no) {
    return answer(db::update_end_time(record_no, end_time));
}

int SSD_OP_DB_Update_Disk_Performance(int record_no, int raid_id, int dev_id, int is_write,
                                      int is_sequential, unsigned long long value) {
    const db::Figure figure{is_write != 0, is_sequential != 0};
    return answer(db::update_performance(record_no, raid_id, dev_id, figure, value));
}

int SSD_OP_DB_Record_Is_Exist(int record_no) {
    const std::optional<bool> exists = db::has_record(record_no);
    return exists ? static_cast<int>(*exists) : -1;
}

void SSD_OP_DB_Free_Record(ssd_op_db_record* record) { db::free_record(record); }

void SSD_OP_DB_Free_RAID_Conf(ssd_op_db_record* record) {
    if (record != nullptr) db::free_groups(*record);
}

void SSD_OP_DB_Free_Runtime_Report(ssd_op_db_record* record) {
    if (record != nullptr) db::free_runtime_report(*record);
}

void SSD_OP_DB_Free_SSD_Runtime_Data(ssd_op_db_raid_conf* raid) {
    if (raid != nullptr) db::free_temperatures(*raid);
}
