#pragma once

#include <cstdint>
#include <map>

#include "ssd_op.h"

namespace ssd_op::db {

/// For a reader of one ratio of a record after the other: where the table of runtime reports has
/// each ratio's rows. Rows are found by going through the table, so that each ratio costs a way
/// through all of it; with this they cost two ways together.
class SampleRanges {
  public:
    /// Finds the rows that there are now.
    explicit SampleRanges(int record_no);

    /// What SSD_OP_DB_Query_Record_Runtime_Report does for every row of a ratio.
    int read(ssd_op_db_record& record, int percentage) const;

  private:
    struct Range {
        int64_t first = 0, last = -1;  // numbers of rows, others among them
    };
    int find();

    int record_no_;
    std::map<int, Range> ranges_;  // by ratio
    bool found_;
};

}  // namespace ssd_op::db
