#pragma once

#include <optional>
#include <vector>

#include "ssd_op.h"

namespace cli {

/// What a record says about one OP ratio.
struct Result {
    int op;
    bool skipped;                        // the ratio could not be set
    std::optional<double> iops;          // none: not measured
    std::optional<double> gain_percent;  // over the lowest ratio that was measured
    std::optional<double> write_amplification;
};

/// One for each ratio of the record, ascending.
std::vector<Result> results_of(const ssd_op_db_record& record);

/// The ratio that gains are counted from; none when nothing was measured.
std::optional<int> baseline_of(const std::vector<Result>& results);

}  // namespace cli
