/// Stop room: ends evaluations from outside. It marks their records, kills what works on their
/// drives and volumes, and takes away what a driver that died has left.
#pragma once

#include "ssd_op.h"

namespace ssd_op::evaluation {

/// What the caller of a stop asks for.
struct StopRequest {
    const ssd_op_requester* requester;
    int record_no;  ///< SSD_OP_ALL_RECORDS: every running one
    int raid_id;    ///< from kFirstRaidId on: only records with this group
    int remove_storage;
    int type;
};

/// NAS_SSD_OP_Test_Stop.
int stop_records(const StopRequest& request, int need_fork);

/// Ends what works for one record (SSD_OP_Test_Stop).
/// @param old_status         status before the stop
/// @param old_step_progress  step progress before the stop, for the trace
int stop_work(int record_no, bool remove_storage, int old_status, int old_step_progress);

}  // namespace ssd_op::evaluation
