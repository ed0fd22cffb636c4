#pragma once

#include "ssd_op.h"

namespace cli {

/// The user who runs this program, for the event log.
ssd_op_requester this_user();

}  // namespace cli
