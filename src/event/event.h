/// Event room: what a user gets to read. It fills messages of the platform's table, hands them to
/// the event log or to the notification service, and uploads the summary of a record. It uses `db`
/// to look records up and keeps no state.
#pragma once

#include "ssd_op.h"

namespace ssd_op::event {

/// Reports an event to the user (SSD_OP_Write_System_Log). False when it cannot be reported, also
/// for want of memory: no event that is lost stops what it tells of.
bool write(const ssd_op_requester* requester, int type, const int* record_no,
           const void* detail) noexcept;

}  // namespace ssd_op::event
