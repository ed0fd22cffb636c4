/// How long a running test will still take, and its steps in all and behind it.
#include <ctime>

#include "base/boundary.h"
#include "db/record_owner.h"
#include "runtime/number.h"

namespace ssd_op::runtime {

namespace {

/// Ratios above the current one, up to max_op, which itself counts when a step would pass it. The
/// remaining time takes them as still to come, the complete count as done: each fits an order in
/// which a script may visit the ratios. A step of 0 or less leads to no further ratio.
int64_t ratios_above(int current, const ssd_op_db_record& record) {
    if (current >= record.max_op || record.interval <= 0) return 0;
    const int64_t distance = int64_t{record.max_op} - current;
    return (distance + record.interval - 1) / record.interval;
}

/// The ratio being measured, when it can be read and is one of the record's.
bool read_current(int record_no, const ssd_op_db_record& record, int& current) {
    return SSD_OP_Test_Get_Current_OP_Percentage(record_no, &current) == 0 &&
           current >= record.min_op;
}

unsigned long long time_left_of_current(int record_no) {
    int detail = 0;
    unsigned long long eta = 0;
    if (SSD_OP_Test_Get_Current_OP_Detail(record_no, &detail) == 0 && detail != 0)
        SSD_OP_Test_Get_Current_OP_ETA(record_no, &eta);
    return eta;
}

unsigned long long remaining_seconds(int record_no, const ssd_op_db_record& record) {
    int current = 0;
    if (record.status != SSD_OP_TEST_STATUS_TESTING || !read_current(record_no, record, current))
        return 0;
    const auto now = static_cast<unsigned long long>(std::time(nullptr));
    unsigned long long start = 0;
    if (SSD_OP_Test_Get_Current_OP_Start_Time(record_no, &start) != 0 || start > now) return 0;

    // A later ratio is taken to need 80 percent of the current one's whole time.
    const auto eta = static_cast<double>(time_left_of_current(record_no));
    const auto spent = static_cast<double>(now - start);
    const auto to_come = static_cast<double>(ratios_above(current, record));
    return truncate<unsigned long long>(eta + to_come * 0.8 * (eta + spent));
}

bool read_positive(int (*get)(int, int*), int record_no, int& value) {
    return get(record_no, &value) == 0 && value > 0;
}

void store_complete_count(int record_no, const ssd_op_db_record& record, int& complete) {
    int current = 0, steps = 0, step = 0;
    if (!read_current(record_no, record, current) ||
        !read_positive(SSD_OP_Test_Get_Current_OP_Total_Step, record_no, steps) ||
        !read_positive(SSD_OP_Test_Get_Current_OP_Running_Step, record_no, step)) {
        return;
    }
    complete = to_int(ratios_above(current, record) * steps + step - 1);
}

/// Runs `use` on the caller's record, or on the one in the database. 0; -1 when that is missing.
template <typename Use>
int with_record(int record_no, const ssd_op_db_record* record, Use use) {
    if (record != nullptr) {
        use(*record);
        return 0;
    }
    const db::RecordOwner loaded = db::load_record(record_no);
    if (!loaded) return -1;
    use(*loaded);
    return 0;
}

}  // namespace

}  // namespace ssd_op::runtime

using namespace ssd_op;

int SSD_OP_Test_Get_Remain_Time(int record_no, ssd_op_db_record* record,
                                unsigned long long* seconds) {
    return base::guarded(__func__, -1, [&] {
        if (seconds == nullptr) return -1;
        *seconds = 0;
        return runtime::with_record(record_no, record, [&](const ssd_op_db_record& known) {
            *seconds = runtime::remaining_seconds(record_no, known);
        });
    });
}

int SSD_OP_Test_Get_Total_Test_Count(int record_no, ssd_op_db_record* record, int* total) {
    return base::guarded(__func__, -1, [&] {
        int ratios = 0, steps = 0;
        if (total == nullptr || SSD_OP_Test_Get_OP_Count(record_no, record, &ratios) != 0 ||
            ratios < 1 ||
            !runtime::read_positive(SSD_OP_Test_Get_Current_OP_Total_Step, record_no, steps)) {
            return -1;
        }
        *total = runtime::to_int(int64_t{ratios} * steps);
        return 0;
    });
}

int SSD_OP_Test_Get_Complete_Test_Count(int record_no, ssd_op_db_record* record, int* complete) {
    return base::guarded(__func__, -1, [&] {
        if (complete == nullptr) return -1;
        return runtime::with_record(record_no, record, [&](const ssd_op_db_record& known) {
            runtime::store_complete_count(record_no, known, *complete);
        });
    });
}
