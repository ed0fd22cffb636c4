#include "snapshot.h"

#include <fmt/format.h>

#include "text.h"

namespace cli {

namespace {

void add_ratio(Snapshot& snapshot) {
    int ratio = 0;
    if (SSD_OP_Test_Get_Current_OP_Percentage(snapshot.record_no, &ratio) != 0) return;
    if (ratio >= 0)
        snapshot.ratio = ratio;
    else
        snapshot.is_filling = true;
}

void add_remaining_time(Snapshot& snapshot, ssd_op_db_record& record) {
    unsigned long long seconds = 0;
    if (SSD_OP_Test_Get_Remain_Time(snapshot.record_no, &record, &seconds) == 0 && seconds > 0)
        snapshot.remaining_seconds = seconds;
}

}  // namespace

Snapshot take_snapshot(ssd_op_db_record& record) {
    Snapshot snapshot{};
    snapshot.record_no = record.record_no;
    snapshot.title = record.title;
    snapshot.status = record.status;
    float percent = 0;
    SSD_OP_Test_Get_Progress(record.record_no, &record, &percent);
    snapshot.percent = percent;
    if (record.status == SSD_OP_TEST_STATUS_TESTING) {
        add_ratio(snapshot);
        add_remaining_time(snapshot, record);
    }
    return snapshot;
}

std::string phase_text(const Snapshot& snapshot) {
    const std::string phase = status_word(snapshot.status);
    if (snapshot.is_filling) return phase + ": filling the volume";
    if (snapshot.ratio) return fmt::format("{}: OP {} %", phase, *snapshot.ratio);
    switch (snapshot.status) {
        case SSD_OP_TEST_STATUS_INITIATING:
            return phase + ": preparing drives and storage";
        case SSD_OP_TEST_STATUS_FINISHING:
            return phase + ": saving results, removing the storage";
        default:
            return phase;
    }
}

std::string progress_line(const Snapshot& snapshot) {
    std::string line = fmt::format("{:5.1f} %  {}", snapshot.percent, phase_text(snapshot));
    if (snapshot.remaining_seconds)
        line += fmt::format(", about {} left",
                            duration_text(static_cast<double>(*snapshot.remaining_seconds)));
    return line;
}

Json snapshot_json(const Snapshot& snapshot) {
    const auto or_null = [](const auto& value) { return value ? Json(*value) : Json(nullptr); };
    return {{"record", snapshot.record_no},
            {"title", snapshot.title},
            {"status", status_word(snapshot.status)},
            {"running", is_running(snapshot.status)},
            {"percent", snapshot.percent},
            {"ratio", or_null(snapshot.ratio)},
            {"filling", snapshot.is_filling},
            {"remaining_seconds", or_null(snapshot.remaining_seconds)}};
}

}  // namespace cli
