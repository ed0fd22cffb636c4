/// The overall percentage of a record: each status has its share of the way from 0 to 100.
#include "runtime/progress.h"

#include "platform/ini.h"
#include "runtime/number.h"
#include "runtime/script_status.h"
#include "runtime/state_section.h"
#include "shared/ratios.h"

namespace ssd_op::runtime {

namespace {

constexpr int kPreparing = -1;  // current_op_percentage before the first ratio is measured
constexpr int kGone = -3;       // no status that this library sets; over, like the negative ones

/// What the script says that it has behind it. The one read without a lock: a front end polls this
/// all the time and must not hold up the script; the file is replaced as a whole, never half
/// written.
int script_base(const StateSection& info) {
    int progress = 0;
    Ini_Conf_Get_Field_Int(info.file, info.name, "test_script_progress", &progress, 0);
    return progress;
}

/// 0 when it cannot be read.
float current_ratio_progress(int record_no) {
    float progress = 0;
    read_ratio_progress(record_no, progress);
    return progress;
}

int script_progress(int record_no, const ssd_op_db_record* record) {
    const StateSection info = runtime_info(record_no);
    const int done = script_base(info);
    const int current = info.read(kCurrentRatio).value_or(0);
    const int detail = info.read(kCurrentDetail).value_or(0);
    if (detail == 0 || (current < 0 && current != kPreparing)) return done;

    const auto base = static_cast<float>(done);
    if (current == kPreparing)
        return truncate<int>(current_ratio_progress(record_no) * 20 / 100 + base);

    const KnownRecord known(record_no, record);
    const int ratios = known ? op_count(*known) : 0;
    if (ratios <= 0) return done;
    const auto share = static_cast<float>(80.0 / ratios);
    return truncate<int>(share * current_ratio_progress(record_no) / 100 + base);
}

float step_progress(int record_no) {
    return static_cast<float>(runtime_info(record_no).read(kStepProgress).value_or(0));
}

/// `percent` of the stretch from `start` on; beyond it when a figure is beyond 100.
float within(float start, float length, float percent) { return start + length * (percent / 100); }

}  // namespace

int op_count(const ssd_op_db_record& record) {
    return to_int(shared::ratio_count(record.min_op, record.max_op, record.interval));
}

std::optional<float> overall_progress(int record_no, const ssd_op_db_record* record) {
    switch (db::query_status(record_no).value_or(SSD_OP_TEST_STATUS_STOPPED)) {
        case SSD_OP_TEST_STATUS_NEW:
            return 0.0F;
        case SSD_OP_TEST_STATUS_INITIATING:
            return within(1, 9, step_progress(record_no));
        case SSD_OP_TEST_STATUS_TESTING:
            return within(11, 79, static_cast<float>(script_progress(record_no, record)));
        case SSD_OP_TEST_STATUS_FINISHING:
            return within(91, 9, step_progress(record_no));
        case SSD_OP_TEST_STATUS_COMPLETED:
        case SSD_OP_TEST_STATUS_STOPPED:
        case SSD_OP_TEST_STATUS_FAILED:
        case kGone:
            return 100.0F;
        default:
            return std::nullopt;
    }
}

}  // namespace ssd_op::runtime
