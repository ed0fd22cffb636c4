#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <span>

#include "ssd_op.h"

namespace ssd_op::db {

/// For a reader of one ratio of a record after the other: where the table of runtime reports has
/// the rows of these ratios. Rows are found by going through the table, so that each ratio costs a
/// way through all of it; with this they cost two ways together.
class SampleRanges {
  public:
    /// Finds the rows that there are now.
    SampleRanges(int record_no, std::span<const int> ratios);

    /// How many rows a ratio has; nothing when they could not be found.
    std::optional<uint64_t> rows(int percentage) const;

    /// What query_samples does for every row of a ratio.
    bool read(ssd_op_db_record& record, int percentage) const;

  private:
    struct Range {
        // Numbers of rows, others among them; of no row at first.
        int64_t first = std::numeric_limits<int64_t>::max();
        int64_t last = std::numeric_limits<int64_t>::min();
        uint64_t rows = 0;  // the ratio's alone
    };
    bool find();

    int record_no_;
    std::map<int, Range> ranges_;  // by ratio
    bool found_;
};

}  // namespace ssd_op::db
