/// Evaluation room: one over-provisioning evaluation from the request to the completed record, and
/// the steps that its test script calls from outside. It may use every other room but the reports.
/// It promises that a record which it began ends as completed, failed or stopped as long as its
/// process lives and the database can be written within a minute of its end, that no event tells of
/// a status which the record does not have, and that what it registered with the platform is
/// withdrawn again. A record whose results could not be stored ends as completed, with a result of
/// -1.
#pragma once

#include "ssd_op.h"

namespace ssd_op::evaluation {

/// The record's status as the database has it now: how a stop by another process is noticed.
inline int status_of(int record_no) {
    int status = SSD_OP_TEST_STATUS_FAILED;
    SSD_OP_Test_Get_Status(record_no, &status);
    return status;
}

/// Whether an evaluation with this status is under way.
constexpr bool is_running(int status) {
    return status == SSD_OP_TEST_STATUS_INITIATING || status == SSD_OP_TEST_STATUS_TESTING ||
           status == SSD_OP_TEST_STATUS_FINISHING;
}

}  // namespace ssd_op::evaluation
