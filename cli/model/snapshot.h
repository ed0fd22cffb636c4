#pragma once

#include <optional>
#include <string>

#include "evaluation/state/driver_presence.h"
#include "model/record.h"
#include "output/terminal.h"

namespace cli {

using ssd_op::evaluation::Driver;

/// What the test script does now.
enum class Activity {
    kNothing,  // it has not said anything yet
    kFilling,  // the volume, before the first ratio
    kMeasuring,
    kDone,
};

/// Where an evaluation is at a moment.
struct Snapshot {
    int record_no;
    std::string title;
    int status;
    Driver driver;   // kGone once it has ended
    double percent;  // of the whole way; below 100 until it has completed, 0 when it never will
    Activity activity = Activity::kNothing;
    std::optional<int> ratio;  // measured now
    int ratio_no = 0;          // its place, from 1
    int ratio_count = 0;
    int step = 0;  // within the ratio, from 1
    int step_count = 0;
    std::optional<double> iops;  // of the latest step
    std::optional<unsigned long long> remaining_seconds;
    bool left_storage = false;  // it has ended, and its storage is still there

    /// Its record says that it runs, but no process is left that would bring it to an end.
    bool is_orphan() const { return is_running(status) && driver == Driver::kGone; }
    /// Whether `percent` says anything.
    bool has_percent() const {
        return is_running(status) || status == SSD_OP_TEST_STATUS_COMPLETED;
    }
    /// Stopped or failed, and its driver is still taking the storage down.
    bool is_closing() const { return !is_running(status) && driver != Driver::kGone; }
};

/// Whether the record says that it runs, and no process is left that would bring it to an end.
bool has_broken_off(const ssd_op_db_record& record);

Snapshot take_snapshot(ssd_op_db_record& record);

/// "testing: OP 10 % (2 of 5)"
std::string phase_text(const Snapshot& snapshot);

/// " 34.1 %  testing: OP 10 % (2 of 5), about 12 min left"
std::string progress_line(const Snapshot& snapshot);

/// What to do about an orphan, and about storage that was left.
std::string orphan_text(const Snapshot& snapshot);
std::string left_storage_text(const Snapshot& snapshot);

Json snapshot_json(const Snapshot& snapshot);

}  // namespace cli
