#include "view/live_view.h"

#include <algorithm>
#include <ctime>

#include <fmt/format.h>

#include "output/text.h"

namespace cli {

namespace {

using Clock = std::chrono::steady_clock;

std::string bar(double percent) {
    constexpr int kCells = 40;
    const auto full = static_cast<size_t>(std::clamp(percent, 0.0, 100.0) / 100 * kCells);
    return "[" + std::string(full, '#') + std::string(kCells - full, '-') + "]";
}

/// "step 2 of 3, 18234 IOPS"; may be empty.
std::string step_text(const Snapshot& snapshot) {
    std::string text;
    if (snapshot.step > 0 && snapshot.step_count > 0)
        text = fmt::format("step {} of {}", snapshot.step, snapshot.step_count);
    if (snapshot.iops)
        text += fmt::format("{}{:.0f} IOPS", text.empty() ? "" : ", ", *snapshot.iops);
    return text;
}

std::string minute_line(const Snapshot& snapshot, const std::vector<Temperature>& temperatures) {
    std::string line = moment_text(std::time(nullptr)) + "  " + progress_line(snapshot);
    for (const std::string& part : {step_text(snapshot), range_text(temperatures)}) {
        if (!part.empty()) line += ", " + part;
    }
    return line;
}

}  // namespace

void LiveView::show(const Snapshot& snapshot, const ssd_op_db_record& record) {
    std::vector<std::string> lines = {
        fmt::format("Evaluation {} \"{}\"", snapshot.record_no, printable(snapshot.title)),
        bar(snapshot.percent), progress_line(snapshot)};
    for (std::string& part :
         std::vector{step_text(snapshot), each_text(temperatures_.read(record))}) {
        if (!part.empty()) lines.push_back(std::move(part));
    }
    block_.show(lines);
}

/// A minute, or the end of a phase: the last line is never out of date.
void MinuteView::show(const Snapshot& snapshot, const ssd_op_db_record& record) {
    const auto now = Clock::now();
    const bool ended = !is_running(snapshot.status) || snapshot.is_orphan();
    if (!ended && shown_ && now - *shown_ < std::chrono::minutes(1)) return;
    if (ended && phase_text(snapshot) == phase_) return;
    shown_ = now;
    phase_ = phase_text(snapshot);
    if (json_)
        print_json_line(snapshot_json(snapshot));
    else
        fmt::print("{}\n", ended ? minute_line(snapshot, {})
                                 : minute_line(snapshot, temperatures_.read(record)));
    std::fflush(stdout);
}

void MilestoneView::show(const Snapshot& snapshot, const ssd_op_db_record&) {
    const int tenth = static_cast<int>(snapshot.percent / 10) * 10;
    const std::string line = fmt::format("{:3d} %  {}", tenth, phase_text(snapshot));
    if (line == shown_) return;
    shown_ = line;
    fmt::print("{}\n", line);
    std::fflush(stdout);
}

}  // namespace cli
