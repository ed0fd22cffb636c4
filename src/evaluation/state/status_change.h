#pragma once

#include "db/status_change.h"

namespace ssd_op::evaluation {

using db::StatusChange;

/// Moves a record to its next status unless another process has moved it: driver and stop do not
/// overwrite what the other has just written. A change is published in the runtime state
/// afterwards.
StatusChange move_status(int record_no, int from, int to) noexcept;

}  // namespace ssd_op::evaluation
