#pragma once

#include <optional>
#include <string>

#include "record.h"
#include "terminal.h"

namespace cli {

/// Where an evaluation is at a moment.
struct Snapshot {
    int record_no;
    std::string title;
    int status;
    double percent;
    std::optional<int> ratio;  // measured now
    bool is_filling = false;   // before the first ratio
    std::optional<unsigned long long> remaining_seconds;
};

Snapshot take_snapshot(ssd_op_db_record& record);

/// "testing: OP 10 %"
std::string phase_text(const Snapshot& snapshot);

/// " 34.1 %  testing: OP 10 %, about 12 min left"
std::string progress_line(const Snapshot& snapshot);

Json snapshot_json(const Snapshot& snapshot);

}  // namespace cli
