#include "model/course.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>

#include "model/record.h"
#include "model/results.h"
#include "model/step_rows.h"
#include "output/text.h"

namespace cli {

namespace {

constexpr double kTypicalFlash = 1.07;  // of a drive, for each byte that its host sees

/// When the steps of a ratio ended, in seconds since its start, and what they had written by then.
struct Steps {
    std::vector<double> ends;
    double written = 0;  // bytes

    /// The last ones are rounds.
    double round_seconds(double least) const {
        if (ends.size() <= kRounds) return least;
        return std::max((ends.back() - ends[ends.size() - 1 - kRounds]) / kRounds, least);
    }
};

Steps steps_of(int record_no, int op) {
    Steps steps;
    const Record holder = empty_record();
    if (SSD_OP_DB_Query_Record_Runtime_Report(holder.get(), record_no, op, 1) != 0) return steps;
    for (const auto* row : step_rows(*holder)) {
        steps.ends.push_back(static_cast<double>(row->time_slap) / 1000);
        steps.written = static_cast<double>(row->write_amount) * kKib;
    }
    return steps;
}

std::optional<FinishedRatio> finished_ratio(int record_no, const Result& result, double round) {
    const Steps steps = steps_of(record_no, result.op);
    if (steps.ends.empty() || steps.ends.back() <= 0) return std::nullopt;
    return FinishedRatio{result.op,    steps.ends.back(),          steps.written,
                         *result.iops, result.write_amplification, steps.round_seconds(round)};
}

/// Sorts the ratios by what has become of them, whatever order the script visits them in: those to
/// come, and the measured one that is next to the current one.
void add_ratios(Course& course, const ssd_op_db_record& record) {
    const Record holder = empty_record();
    if (SSD_OP_DB_Query_Record_Test_Data(holder.get(), record.record_no) != 0) return;
    const std::vector<Result> results = results_of(*holder);
    std::optional<Result> nearest;
    const auto distance = [&](int op) { return std::abs(op - course.op); };
    for (const Result& result : results) {
        if (!result.iops || result.op == course.op) continue;
        if (!nearest || distance(result.op) <= distance(nearest->op)) nearest = result;
    }
    if (nearest) course.last = finished_ratio(record.record_no, *nearest, course.round_seconds);
    for (const auto& [op, skipped] : unmeasured_of(record, rates_of(results))) {
        if (op != course.op && !skipped) course.later.push_back(op);
    }
}

bool add_volume(Course& course, const ssd_op_db_record& record) {
    size_t data_members = 0;
    for (const ssd_op_db_raid_conf& group : shared::groups(record)) {
        course.layout = {group.raid_level, shared::drives(group).size()};
        if (!course.layout.holds_data()) return false;
        data_members += course.layout.data_members();
    }
    const std::vector<const ssd_op_db_ssd_dev*> drives = drives_of(record);
    if (drives.empty() || data_members == 0 || record.lv_size == 0) return false;
    const auto of_a_drive = [&](uint64_t mib) {
        return static_cast<double>(mib) * kMib / static_cast<double>(data_members);
    };
    course.volume = static_cast<double>(record.lv_size) * kMib;
    course.use = {static_cast<double>(drives.front()->capacity) * kTypicalFlash,
                  of_a_drive(record.lv_size), of_a_drive(record.test_size)};
    return true;
}

/// Before its first slice is written, the script tells nothing of a ratio.
void add_told(Course& course, int record_no) {
    unsigned long long left = 0;
    float percent = 0;
    if (SSD_OP_Test_Get_Current_OP_ETA(record_no, &left) != 0 ||
        SSD_OP_Test_Get_Current_OP_Progress(record_no, &percent) != 0 || !std::isfinite(percent))
        return;
    course.told_left = static_cast<double>(left);
    course.told_share = std::clamp(static_cast<double>(percent) / 100, 0.0, 1.0);
    const Steps steps = steps_of(record_no, course.op);
    if (!steps.ends.empty()) course.told_at = steps.ends.back();
}

}  // namespace

std::optional<Course> course_of(const ssd_op_db_record& record, int op, double iops) {
    unsigned long long start = 0;
    const auto now = static_cast<unsigned long long>(std::time(nullptr));
    if (SSD_OP_Test_Get_Current_OP_Start_Time(record.record_no, &start) != 0 || start > now)
        return std::nullopt;
    Course course{};
    course.op = op;
    course.iops = iops;
    course.round_seconds = shared::round_seconds_of(record.title);
    course.elapsed = static_cast<double>(now - start);
    if (!add_volume(course, record)) return std::nullopt;
    add_ratios(course, record);
    add_told(course, record.record_no);
    return course;
}

}  // namespace cli
