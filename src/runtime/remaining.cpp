/// How long a running test will still take, and its steps in all and behind it.
#include <ctime>

#include "runtime/number.h"
#include "runtime/progress.h"
#include "runtime/script_status.h"
#include "runtime/state_section.h"

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
std::optional<int> read_current(int record_no, const ssd_op_db_record& record) {
    const auto current = runtime_info(record_no).read(kCurrentRatio);
    return current && *current >= record.min_op ? current : std::nullopt;
}

unsigned long long time_left_of_current(int record_no) {
    unsigned long long seconds = 0;
    if (runtime_info(record_no).read(kCurrentDetail).value_or(0) != 0)
        read_time_left(record_no, seconds);
    return seconds;
}

std::optional<int> read_positive(int record_no, const char* key) {
    const auto value = runtime_info(record_no).read(key);
    return value && *value > 0 ? value : std::nullopt;
}

}  // namespace

unsigned long long remaining_seconds(int record_no, const ssd_op_db_record& record) {
    if (record.status != SSD_OP_TEST_STATUS_TESTING) return 0;
    const auto current = read_current(record_no, record);
    if (!current) return 0;
    const auto now = static_cast<unsigned long long>(std::time(nullptr));
    const auto start = read_start_time(record_no);
    if (!start || *start > now) return 0;

    // A later ratio is taken to need 80 percent of the current one's whole time.
    const auto eta = static_cast<double>(time_left_of_current(record_no));
    const auto spent = static_cast<double>(now - *start);
    const auto to_come = static_cast<double>(ratios_above(*current, record));
    return truncate<unsigned long long>(eta + to_come * 0.8 * (eta + spent));
}

std::optional<int> total_steps(int record_no, const ssd_op_db_record& record) {
    const int ratios = op_count(record);
    if (ratios < 1) return std::nullopt;
    const auto steps = read_positive(record_no, kTotalSteps);
    if (!steps) return std::nullopt;
    return to_int(int64_t{ratios} * *steps);
}

std::optional<int> complete_steps(int record_no, const ssd_op_db_record& record) {
    const auto current = read_current(record_no, record);
    const auto steps = current ? read_positive(record_no, kTotalSteps) : std::nullopt;
    const auto step = steps ? read_positive(record_no, kRunningStep) : std::nullopt;
    if (!step) return std::nullopt;
    return to_int(ratios_above(*current, record) * *steps + *step - 1);
}

}  // namespace ssd_op::runtime
