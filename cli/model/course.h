#pragma once

#include <optional>

#include "model/time_left.h"
#include "ssd_op.h"

namespace cli {

/// How the evaluation of a record, which measures a ratio now, has gone so far; none when the
/// record or what the script writes does not tell.
/// @param iops at the ratio, as told last; 0: unknown
std::optional<Course> course_of(const ssd_op_db_record& record, int op, double iops);

}  // namespace cli
