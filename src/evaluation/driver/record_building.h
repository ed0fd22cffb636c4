#pragma once

#include <vector>

#include "db/record_owner.h"
#include "platform/storage.h"

namespace ssd_op::evaluation {

/// The record of a request, begun now. @throws std::bad_alloc
db::RecordOwner build_record(const ssd_op_test_param& request,
                             const std::vector<RAID_CONF*>& groups);

}  // namespace ssd_op::evaluation
