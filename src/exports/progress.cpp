// Progress: figures for whoever watches a test.

#include "runtime/progress.h"

#include "base/boundary.h"
#include "exports/answer.h"
#include "runtime/script_status.h"
#include "ssd_op.h"

using namespace ssd_op;
using namespace ssd_op::exports;

namespace {

/// What `read` returns, unless there is no place for the value.
template <typename Value>
int into(base::Caller caller, int (*read)(int, Value&), int record_no, Value* value) {
    if (value == nullptr) return -1;
    return base::guarded(caller, -1, [&] { return read(record_no, *value); });
}

/// What `use` makes of the caller's record, or of the one in the database; -1 when there is none.
template <typename Use>
int with_record(base::Caller caller, int record_no, const ssd_op_db_record* record, Use use) {
    return base::guarded(caller, -1, [&] {
        const runtime::KnownRecord known(record_no, record);
        return known ? use(*known) : -1;
    });
}

}  // namespace

int SSD_OP_Test_Get_OP_Count(int record_no, const ssd_op_db_record* record, int* op_count) {
    if (op_count == nullptr) return -1;
    return with_record(__func__, record_no, record, [&](const ssd_op_db_record& known) {
        *op_count = runtime::op_count(known);
        return 0;
    });
}

int SSD_OP_Test_Get_Current_OP_Progress(int record_no, float* progress) {
    return into(__func__, runtime::read_ratio_progress, record_no, progress);
}

int SSD_OP_Test_Get_Current_OP_ETA(int record_no, unsigned long long* eta_seconds) {
    return into(__func__, runtime::read_time_left, record_no, eta_seconds);
}

int SSD_OP_Test_Get_Current_OP_Test_Amount(int record_no, unsigned long long* amount) {
    return into(__func__, runtime::read_test_amount, record_no, amount);
}

int SSD_OP_Test_Get_Current_OP_Test_Value(int record_no, long double* value) {
    return into(__func__, runtime::read_test_value, record_no, value);
}

int SSD_OP_Test_Get_Current_OP_Start_Time(int record_no, unsigned long long* start) {
    if (start == nullptr) return -1;
    return base::guarded(__func__, -1, [&] {
        const auto stored = runtime::read_start_time(record_no);
        if (stored) *start = *stored;
        return answer(stored.has_value());
    });
}

int SSD_OP_Test_Get_Progress(int record_no, const ssd_op_db_record* record, float* progress) {
    if (progress == nullptr) return 0;
    return base::guarded(__func__, 0, [&] {
        *progress = runtime::overall_progress(record_no, record).value_or(*progress);
        return 0;
    });
}

int SSD_OP_Test_Get_Remain_Time(int record_no, const ssd_op_db_record* record,
                                unsigned long long* seconds) {
    if (seconds == nullptr) return -1;
    *seconds = 0;
    return with_record(__func__, record_no, record, [&](const ssd_op_db_record& known) {
        *seconds = runtime::remaining_seconds(record_no, known);
        return 0;
    });
}

int SSD_OP_Test_Get_Total_Test_Count(int record_no, const ssd_op_db_record* record, int* total) {
    if (total == nullptr) return -1;
    return with_record(__func__, record_no, record, [&](const ssd_op_db_record& known) {
        const auto steps = runtime::total_steps(record_no, known);
        if (steps) *total = *steps;
        return answer(steps.has_value());
    });
}

int SSD_OP_Test_Get_Complete_Test_Count(int record_no, const ssd_op_db_record* record,
                                        int* complete) {
    if (complete == nullptr) return -1;
    return with_record(__func__, record_no, record, [&](const ssd_op_db_record& known) {
        *complete = runtime::complete_steps(record_no, known).value_or(*complete);
        return 0;
    });
}
