#include "model/snapshot.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "model/course.h"
#include "model/leftover.h"
#include "output/text.h"

namespace cli {

namespace {

constexpr int kFillingMark = -1;  // in place of a ratio; below: there is none any more
constexpr double kNotDone = 99.9;

// Figures come as the test script's files have them. Beyond these they are damage, not news.
constexpr double kMostIops = 1e9;
constexpr unsigned long long kLongestRest = 3650ULL * 86400;

void add_place(Snapshot& snapshot, ssd_op_db_record& record, int ratio) {
    snapshot.ratio = ratio;
    int count = 0;
    int64_t place = 1;
    if (SSD_OP_Test_Get_OP_Count(record.record_no, &record, &count) != 0) return;
    if (record.interval > 0) place += (int64_t{ratio} - record.min_op) / record.interval;
    if (place > count) return;
    snapshot.ratio_no = static_cast<int>(place);
    snapshot.ratio_count = count;
}

void add_activity(Snapshot& snapshot, ssd_op_db_record& record) {
    int ratio = 0;
    if (SSD_OP_Test_Get_Current_OP_Percentage(snapshot.record_no, &ratio) != 0) return;
    if (ratio > record.max_op || (ratio >= 0 && ratio < record.min_op)) return;  // none of its own
    if (ratio >= 0) {
        snapshot.activity = Activity::kMeasuring;
        add_place(snapshot, record, ratio);
    } else {
        snapshot.activity = ratio == kFillingMark ? Activity::kFilling : Activity::kDone;
    }
}

/// From how the evaluation has gone so far; where that does not tell, what the library says.
std::optional<unsigned long long> remaining_seconds(const Snapshot& snapshot,
                                                    const ssd_op_db_record& record) {
    if (!snapshot.ratio) return std::nullopt;
    const auto course = course_of(record, *snapshot.ratio, snapshot.iops.value_or(0));
    const auto left = course ? time_left(*course) : std::nullopt;
    if (left && *left <= static_cast<double>(kLongestRest))
        return static_cast<unsigned long long>(std::max(*left, 1.0));
    unsigned long long seconds = 0;
    if (SSD_OP_Test_Get_Remain_Time(snapshot.record_no, &record, &seconds) == 0 && seconds > 0 &&
        seconds <= kLongestRest)
        return seconds;
    return std::nullopt;
}

void add_figures(Snapshot& snapshot, const ssd_op_db_record& record) {
    SSD_OP_Test_Get_Current_OP_Running_Step(snapshot.record_no, &snapshot.step);
    SSD_OP_Test_Get_Current_OP_Total_Step(snapshot.record_no, &snapshot.step_count);
    if (snapshot.step > snapshot.step_count) snapshot.step = 0;
    long double iops = 0;
    if (SSD_OP_Test_Get_Current_OP_Test_Value(snapshot.record_no, &iops) == 0 && iops > 0 &&
        iops <= kMostIops)
        snapshot.iops = static_cast<double>(iops);
    snapshot.remaining_seconds = remaining_seconds(snapshot, record);
}

/// A driver may end between the reading of its record and the search for it, so a record without a
/// driver is read once more.
void add_driver(Snapshot& snapshot, ssd_op_db_record& record) {
    snapshot.driver = Driver::kGone;
    if (record.end_time == 0 || is_running(record.status))
        snapshot.driver = ssd_op::evaluation::driver_of(record.record_no);
    if (snapshot.is_orphan()) {
        record.status = SSD_OP_DB_Query_Record_Status(record.record_no);
        snapshot.status = record.status;
    }
    snapshot.left_storage = has_left_storage(record, snapshot.driver);
    // Nothing is known of its driver, but there is nothing that it would have to remove either.
    if (snapshot.is_closing() && snapshot.driver == Driver::kUnknown && !snapshot.left_storage)
        snapshot.driver = Driver::kGone;
}

double percent_of(const ssd_op_db_record& record) {
    if (record.status == SSD_OP_TEST_STATUS_COMPLETED) return 100;
    float percent = 0;
    if (!is_running(record.status)) return 0;
    SSD_OP_Test_Get_Progress(record.record_no, &record, &percent);
    return std::isfinite(percent) ? std::clamp(static_cast<double>(percent), 0.0, kNotDone) : 0;
}

const char* activity_text(const Snapshot& snapshot) {
    if (snapshot.is_closing()) return ": removing the storage";
    switch (snapshot.status) {
        case SSD_OP_TEST_STATUS_INITIATING:
            return ": preparing drives and storage";
        case SSD_OP_TEST_STATUS_FINISHING:
            return ": saving results, removing the storage";
        default:
            break;
    }
    if (snapshot.activity == Activity::kFilling) return ": filling the volume";
    return snapshot.activity == Activity::kDone ? ": all ratios measured" : "";
}

}  // namespace

Snapshot take_snapshot(ssd_op_db_record& record) {
    Snapshot snapshot{};
    snapshot.record_no = record.record_no;
    snapshot.title = record.title;
    snapshot.status = record.status;
    add_driver(snapshot, record);
    snapshot.percent = percent_of(record);
    if (record.status != SSD_OP_TEST_STATUS_TESTING) return snapshot;
    add_activity(snapshot, record);
    if (snapshot.activity == Activity::kFilling || snapshot.activity == Activity::kMeasuring)
        add_figures(snapshot, record);
    if (snapshot.is_orphan()) snapshot.remaining_seconds.reset();  // it never comes to that
    return snapshot;
}

bool has_broken_off(const ssd_op_db_record& record) {
    return is_running(record.status) &&
           ssd_op::evaluation::driver_of(record.record_no) == Driver::kGone &&
           is_running(SSD_OP_DB_Query_Record_Status(record.record_no));
}

std::string phase_text(const Snapshot& snapshot) {
    std::string phase = status_word(snapshot.status);
    if (snapshot.is_orphan()) phase = "broken off while " + phase;
    if (!snapshot.ratio) return phase + activity_text(snapshot);
    phase += fmt::format(": OP {} %", *snapshot.ratio);
    if (snapshot.ratio_no == 0) return phase;
    return phase + fmt::format(" ({} of {})", snapshot.ratio_no, snapshot.ratio_count);
}

std::string progress_line(const Snapshot& snapshot) {
    std::string line = phase_text(snapshot);
    if (snapshot.has_percent()) line = fmt::format("{:5.1f} %  {}", snapshot.percent, line);
    if (snapshot.remaining_seconds)
        line += fmt::format(", about {} left",
                            duration_text(static_cast<double>(*snapshot.remaining_seconds)));
    return line;
}

std::string orphan_text(const Snapshot& snapshot) {
    return as_called(fmt::format(
        "It broke off: its process is gone, and nothing brings it to an end. ssd-op stop {} gives "
        "its drives and services back.",
        snapshot.record_no));
}

std::string left_storage_text(const Snapshot& snapshot) {
    return as_called(
        fmt::format("Its storage is still there; ssd-op stop {} removes it.", snapshot.record_no));
}

Json snapshot_json(const Snapshot& snapshot) {
    return {{"record", snapshot.record_no},
            {"title", snapshot.title},
            {"status", status_word(snapshot.status)},
            {"running", is_running(snapshot.status)},
            {"broken_off", snapshot.is_orphan()},
            {"left_storage", snapshot.left_storage},
            {"percent", snapshot.has_percent() ? Json(snapshot.percent) : Json(nullptr)},
            {"ratio", or_null(snapshot.ratio)},
            {"ratio_no", positive_or_null(snapshot.ratio_no)},
            {"ratio_count", positive_or_null(snapshot.ratio_count)},
            {"filling", snapshot.activity == Activity::kFilling},
            {"step", positive_or_null(snapshot.step)},
            {"step_count", positive_or_null(snapshot.step_count)},
            {"iops", or_null(snapshot.iops)},
            {"remaining_seconds", or_null(snapshot.remaining_seconds)}};
}

}  // namespace cli
