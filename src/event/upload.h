#pragma once

#include <string>

#include "ssd_op.h"

namespace ssd_op::event {

/// The shell script that sends a record's summary through the platform's analytics tool.
///
/// Fields are separated by tabs, so a control character in a value (a title with a tab, say)
/// becomes a blank: it cannot begin a field of its own. Quotes and backslashes arrive as they are.
std::string upload_script(const ssd_op_db_record& record);

/// Sends a finished record's summary. Whether it arrives is the tool's affair: the result is always
/// 0. Uploads of several processes wait for each other, a minute at the most: what then still waits
/// is not sent, which is traced. When the script cannot be created as a new file of this process,
/// nothing is run either: whatever lies under its name then is not ours.
int ssd_op_analytics_upload(const ssd_op_db_record* record);

}  // namespace ssd_op::event
