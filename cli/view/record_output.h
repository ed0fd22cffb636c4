#pragma once

#include <string>

#include "model/record.h"
#include "output/lines.h"
#include "output/table.h"
#include "output/terminal.h"

namespace cli {

/// "Record 3 "Cache drive": completed"
std::string record_line(const ssd_op_db_record& record);

/// Its times and its volume.
Lines record_facts(const ssd_op_db_record& record);

/// What it was measured on.
Lines appliance_facts(const ssd_op_db_record& record);

/// A group's layout, and its drives.
std::string group_line(const ssd_op_db_raid_conf& group);
Table group_table(const ssd_op_db_raid_conf& group);

/// The figures of each ratio.
Table results_table(const ssd_op_db_record& record);
std::string results_text(const ssd_op_db_record& record);

/// All that a record tells.
std::string record_text(const ssd_op_db_record& record);
Json record_json(const ssd_op_db_record& record);

/// Its number, title, status, times and ratios.
Json record_head_json(const ssd_op_db_record& record);

}  // namespace cli
