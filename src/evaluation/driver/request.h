#pragma once

#include <vector>

#include "platform/storage.h"
#include "ssd_op.h"

namespace ssd_op::evaluation {

/// Why a request cannot be run, as a sentence for the trace; null when it can. What it asks for
/// must fit a record: at most SSD_OP_MAX_RATIOS ratios within 0 to 100 percent, and
/// SSD_OP_MAX_DRIVES member drives in a group. Whether the ratios make sense is the test script's
/// to say.
const char* refusal_of(const ssd_op_test_param& request, const std::vector<RAID_CONF*>& groups);

}  // namespace ssd_op::evaluation
