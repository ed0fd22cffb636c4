/// State room: what the other rooms of the evaluation ask and change of a record in common: its
/// status, its driver, its ratios, its groups' numbers and whose they are. See driver/start.h for
/// the evaluation as a whole.
#pragma once

#include "db/queries.h"
#include "ssd_op.h"

namespace ssd_op::evaluation {

/// The record's status as the database has it now: how a stop by another process is noticed. A
/// record whose status cannot be read counts as stopped.
inline int status_of(int record_no) {
    return db::query_status(record_no).value_or(SSD_OP_TEST_STATUS_STOPPED);
}

/// Whether an evaluation with this status is under way.
constexpr bool is_running(int status) {
    return status == SSD_OP_TEST_STATUS_INITIATING || status == SSD_OP_TEST_STATUS_TESTING ||
           status == SSD_OP_TEST_STATUS_FINISHING;
}

}  // namespace ssd_op::evaluation
