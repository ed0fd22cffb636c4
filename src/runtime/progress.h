#pragma once

#include <optional>

#include "db/record_owner.h"

namespace ssd_op::runtime {

/// The record that a caller has at hand, or the one in the database; none when that cannot be read.
class KnownRecord {
  public:
    KnownRecord(int record_no, const ssd_op_db_record* record)
        : loaded_(record == nullptr ? db::load_record(record_no) : nullptr),
          record_(record == nullptr ? loaded_.get() : record) {}
    explicit operator bool() const { return record_ != nullptr; }
    const ssd_op_db_record& operator*() const { return *record_; }

  private:
    db::RecordOwner loaded_;
    const ssd_op_db_record* record_;
};

/// How many OP ratios a record tests.
int op_count(const ssd_op_db_record& record);

/// SSD_OP_Test_Get_Progress; nothing for a status that is unknown.
std::optional<float> overall_progress(int record_no, const ssd_op_db_record* record);

/// SSD_OP_Test_Get_Remain_Time.
unsigned long long remaining_seconds(int record_no, const ssd_op_db_record& record);

/// Steps of the whole test, and those done; nothing when a figure that they follow from is not
/// known.
std::optional<int> total_steps(int record_no, const ssd_op_db_record& record);
std::optional<int> complete_steps(int record_no, const ssd_op_db_record& record);

}  // namespace ssd_op::runtime
