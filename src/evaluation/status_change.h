#pragma once

#include "base/file_lock.h"
#include "db/database.h"
#include "evaluation/evaluation.h"

namespace ssd_op::evaluation {

/// Held from the look at a status to its change, so that driver and stop do not overwrite what the
/// other has just written.
inline base::FileLock lock_status() { return base::FileLock::for_writing(db::kDatabaseLock); }

/// Whether the status was `from`; then it is `to` now.
inline bool move_status(int record_no, int from, int to) {
    const auto lock = lock_status();
    if (status_of(record_no) != from) return false;
    SSD_OP_Test_Set_Status(record_no, to);
    return true;
}

}  // namespace ssd_op::evaluation
