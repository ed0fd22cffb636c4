#pragma once

#include <string>

#include "model/record.h"
#include "output/terminal.h"

namespace cli {

/// "Record 3 "Cache drive": completed"
std::string record_line(const ssd_op_db_record& record);

/// The figures of each ratio.
std::string results_text(const ssd_op_db_record& record);

/// All that a record tells.
std::string record_text(const ssd_op_db_record& record);
Json record_json(const ssd_op_db_record& record);

/// Its number, title, status, times and ratios.
Json record_head_json(const ssd_op_db_record& record);

}  // namespace cli
