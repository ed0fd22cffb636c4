/// Evaluation: one over-provisioning evaluation from the request to the completed record, and the
/// steps that its test script calls from outside. It may use every other room but the reports and
/// the exports. It promises that a record which it began ends as completed, failed or stopped as
/// long as its process lives and the database can be written within a minute of its end, that no
/// event tells of a status which the record does not have, and that what it registered with the
/// platform is withdrawn again. A record whose results could not be stored ends as completed, with
/// a result of -1.
///
/// Driver room: the walk of one record through its statuses, from the request on.
#pragma once

#include "platform/storage.h"
#include "ssd_op.h"

namespace ssd_op::evaluation {

/// NAS_SSD_OP_Test_Start.
int start_evaluation(const ssd_op_requester* requester, int need_fork, RAID_CONF* raid_list,
                     ssd_op_test_param* request);

}  // namespace ssd_op::evaluation
