/// The overall percentage of a record: each status has its share of the way from 0 to 100.
#include "base/boundary.h"
#include "platform/ini.h"
#include "runtime/number.h"
#include "runtime/state_section.h"
#include "ssd_op.h"

namespace ssd_op::runtime {

namespace {

constexpr int kPreparing = -1;  // current_op_percentage before the first ratio is measured
constexpr int kGone = -3;       // no status that this library sets; over, like the negative ones

/// What the script says that it has behind it. The one read without a lock: a front end polls this
/// all the time and must not hold up the script; the file is replaced as a whole, never half
/// written.
int script_base(int record_no) {
    int progress = 0;
    const StateSection section = runtime_info(record_no);
    Ini_Conf_Get_Field_Int(section.file.c_str(), section.name.c_str(), "test_script_progress",
                           &progress, 0);
    return progress;
}

/// 0 when it cannot be read.
float current_ratio_progress(int record_no) {
    float progress = 0;
    SSD_OP_Test_Get_Current_OP_Progress(record_no, &progress);
    return progress;
}

int script_progress(int record_no, ssd_op_db_record* record) {
    const int done = script_base(record_no);
    int current = 0, detail = 0;
    SSD_OP_Test_Get_Current_OP_Percentage(record_no, &current);
    SSD_OP_Test_Get_Current_OP_Detail(record_no, &detail);
    if (detail == 0 || (current < 0 && current != kPreparing)) return done;

    const auto base = static_cast<float>(done);
    if (current == kPreparing)
        return truncate<int>(current_ratio_progress(record_no) * 20 / 100 + base);

    int ratios = 0;
    if (SSD_OP_Test_Get_OP_Count(record_no, record, &ratios) != 0 || ratios <= 0) return done;
    const auto share = static_cast<float>(80.0 / ratios);
    return truncate<int>(share * current_ratio_progress(record_no) / 100 + base);
}

float step_progress(int record_no) {
    int progress = 0;
    SSD_OP_Test_Get_Step_Progress(record_no, &progress);
    return static_cast<float>(progress);
}

/// `percent` of the stretch from `start` on; beyond it when a figure is beyond 100.
float within(float start, float length, float percent) { return start + length * (percent / 100); }

void store_progress(int record_no, ssd_op_db_record* record, float& progress) {
    int status = 0;
    SSD_OP_Test_Get_Status(record_no, &status);
    switch (status) {
        case SSD_OP_TEST_STATUS_NEW:
            progress = 0;
            break;
        case SSD_OP_TEST_STATUS_INITIATING:
            progress = within(1, 9, step_progress(record_no));
            break;
        case SSD_OP_TEST_STATUS_TESTING:
            progress = within(11, 79, static_cast<float>(script_progress(record_no, record)));
            break;
        case SSD_OP_TEST_STATUS_FINISHING:
            progress = within(91, 9, step_progress(record_no));
            break;
        case SSD_OP_TEST_STATUS_COMPLETED:
        case SSD_OP_TEST_STATUS_STOPPED:
        case SSD_OP_TEST_STATUS_FAILED:
        case kGone:
            progress = 100;
            break;
        default:
            break;
    }
}

}  // namespace

}  // namespace ssd_op::runtime

int SSD_OP_Test_Get_Progress(int record_no, ssd_op_db_record* record, float* progress) {
    return ssd_op::base::guarded(__func__, 0, [&] {
        if (progress != nullptr) ssd_op::runtime::store_progress(record_no, record, *progress);
        return 0;
    });
}
