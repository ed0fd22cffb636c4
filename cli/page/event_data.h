#pragma once

#include <vector>

#include "model/event.h"
#include "model/record.h"
#include "output/terminal.h"

namespace cli {

/// What the appliance's log has of the time in which the record was made: the newest of it.
Json event_data(const ssd_op_db_record& record, const std::vector<NASLOG_EVENT>& events);

}  // namespace cli
