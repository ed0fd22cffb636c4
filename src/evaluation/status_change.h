#pragma once

#include "base/file_lock.h"
#include "db/database.h"
#include "db/status_change.h"

namespace ssd_op::evaluation {

using db::StatusChange;

/// Moves a record to its next status unless another process has moved it: driver and stop do not
/// overwrite what the other has just written. A change is published in the runtime state
/// afterwards.
StatusChange move_status(int record_no, int from, int to) noexcept;

/// Held from the look at a status to its change.
inline base::FileLock lock_status() { return base::FileLock::for_writing(db::kDatabaseLock); }

}  // namespace ssd_op::evaluation
