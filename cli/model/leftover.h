/// Storage that an evaluation has left: its groups are still there although it has ended, as after
/// a stop that was told to keep them.
#pragma once

#include <map>
#include <vector>

#include "evaluation/state/driver_presence.h"
#include "model/record.h"
#include "ssd_op.h"

namespace cli {

/// Which of all records has left which group, by the group's number. Drivers that are still taking
/// theirs down have not been asked.
std::map<int, int> left_groups(const std::vector<Record>& records);

/// Whether the record has ended and has left storage that no driver is about to remove.
bool has_left_storage(const ssd_op_db_record& record, ssd_op::evaluation::Driver driver);

/// Ends what still works on the storage, takes it down, and waits up to a minute until it is gone.
/// Then starts the services that the evaluation had stopped, unless they are to stand still.
/// @return 0, or what the library reports
int remove_left_storage(const ssd_op_db_record& record);

}  // namespace cli
