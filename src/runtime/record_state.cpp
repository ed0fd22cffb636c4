/// What takes more than one key: a record's status and OP count, and its removal from both files.
#include "base/boundary.h"
#include "db/record_owner.h"
#include "db/running_records.h"
#include "runtime/number.h"
#include "runtime/state_section.h"

namespace ssd_op::runtime {

namespace {

/// A damaged record may hold any numbers: computed wide, so that none of them overflows.
int op_count(const ssd_op_db_record& record) {
    if (record.max_op == record.min_op || record.interval == 0) return 1;
    const int64_t span = int64_t{record.max_op} - record.min_op;
    return to_int(span / record.interval + 1);
}

}  // namespace

void publish_status(int record_no, int status) noexcept {
    constexpr int kMaxCopies = 10;
    base::guarded(__func__, 0, [&] {
        SSD_OP_Test_Set_Step_Progress(record_no, 0);
        const StateSection info = runtime_info(record_no);
        for (int copies = 0; copies < kMaxCopies; ++copies) {
            info.write("status", status);
            // Whoever has changed it since may have written the copy first.
            const auto now = db::stored_status(record_no);
            if (!now || *now == status) break;
            status = *now;
        }
        return 0;
    });
}

}  // namespace ssd_op::runtime

using namespace ssd_op;

int SSD_OP_Test_Get_Status(int record_no, int* status) {
    if (status == nullptr) return -1;
    *status = SSD_OP_DB_Query_Record_Status(record_no);
    return 0;
}

int SSD_OP_Test_Set_Status(int record_no, int status) {
    return base::guarded(__func__, -1, [&] {
        int result = SSD_OP_DB_Update_Record_Status(status, record_no);
        result |= SSD_OP_Test_Set_Step_Progress(record_no, 0);
        // The copy for readers without the database; the database has the last word, so a copy
        // that cannot be written is no failure.
        runtime::runtime_info(record_no).write("status", status);
        return result;
    });
}

int SSD_OP_Test_Get_OP_Count(int record_no, ssd_op_db_record* record, int* op_count) {
    return base::guarded(__func__, -1, [&] {
        if (op_count == nullptr) return -1;
        db::RecordOwner loaded;
        if (record == nullptr) {
            loaded = db::load_record(record_no);
            record = loaded.get();
        }
        if (record == nullptr) return -1;
        *op_count = runtime::op_count(*record);
        return 0;
    });
}

int SSD_OP_Test_Remove_Runtime_Info(int record_no) {
    return base::guarded(__func__, -1, [&] {
        const auto addon = runtime::addon_section(record_no);
        if (!addon) return -1;
        const int result = addon->remove();
        return result | runtime::runtime_info(record_no).remove();
    });
}
