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

/// A ratio with a measured rate.
struct Rate {
    int op;  // 0 to 99
    double iops;
};

/// Of the results that have one, by ascending ratio.
std::vector<Rate> rates_of(const std::vector<Result>& results);

/// A ratio that the record was to measure and that has no rate.
struct Unmeasured {
    int op;
    bool skipped;
};

std::vector<Unmeasured> unmeasured_of(const ssd_op_db_record& record,
                                      const std::vector<Rate>& rates);

}  // namespace cli
