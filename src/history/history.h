/// History room: what a test measured, on its way from its files and records into the database, and
/// out of it again. It may use every room below: the runtime state and the events for a ratio that
/// was skipped and for records that are deleted. A deletion is one transaction, and so is an
/// import, save that temperatures of before go in a statement ahead of it.
#pragma once

#include "ssd_op.h"

namespace ssd_op::history {

// What the exported functions do, each under the name of its own. False when nothing was imported.

/// SSD_OP_DB_Update_Test_Data.
bool store_results(const ssd_op_db_record& record) noexcept;
/// SSD_OP_DB_Update_Runtime_Report.
bool import_runtime_report(int record_no, int percentage, const char* path,
                           int reason_code) noexcept;
/// SSD_OP_DB_Update_SSD_Runtime_Data.
bool import_temperatures(int record_no, int percentage, const char* path) noexcept;

/// SSD_OP_DB_Delete_Record, with its result.
int delete_record(int record_no) noexcept;

}  // namespace ssd_op::history
