#pragma once

#include <optional>
#include <span>

#include "ssd_op.h"

namespace ssd_op::db {

// What the exported queries do, each under the name of its own. Nothing, or false, when the
// database could not be opened or asked.

/// SSD_OP_DB_Record_Is_Exist. False also when the question failed; record_exists knows better.
std::optional<bool> has_record(int record_no) noexcept;
/// Whether there is no such record, which is traced for `function`. A database that cannot be
/// opened does not say so: the access that follows reports that.
bool is_unknown(const char* function, int record_no) noexcept;

/// SSD_OP_DB_Query_Record_No, SSD_OP_DB_Query_Runtime_Percentage: how many of `numbers` were
/// filled.
std::optional<int> query_record_nos(std::span<int> numbers) noexcept;
std::optional<int> query_ratios(int record_no, std::span<int> ratios) noexcept;

std::optional<int> query_record_count() noexcept;
/// SSD_OP_DB_Get_Newest_Record; 0 for none.
std::optional<int> query_newest_record() noexcept;
/// SSD_OP_DB_Query_Record_Status; nothing also when there is no such record.
std::optional<int> query_status(int record_no) noexcept;
/// SSD_OP_DB_Query_SSD_Select_No; 0 for none.
std::optional<int> query_select_no(int record_no, int raid_id, int dev_id) noexcept;
/// SSD_OP_DB_Query_SSD_In_Testing.
bool is_one_in_test(std::span<const int> dev_ids) noexcept;
/// SSD_OP_DB_Query_Record_Runtime_Count; 0 also when the query failed.
std::optional<int> query_sample_count(int record_no, int percentage) noexcept;

bool query_record(int record_no, ssd_op_db_record& record) noexcept;
/// SSD_OP_DB_Query_Record_Simple.
bool query_page(ssd_op_db_record*& list, int offset, int count, int status) noexcept;
/// SSD_OP_DB_Query_Record_Test_Data.
bool query_results(ssd_op_db_record& record, int record_no) noexcept;
/// SSD_OP_DB_Query_Record_Runtime_Report.
bool query_samples(ssd_op_db_record& record, int record_no, int percentage, int every) noexcept;
/// SSD_OP_DB_Query_SSD_Runtime_Data.
bool query_temperatures(ssd_op_db_ssd_dev& drive, int record_no, int percentage) noexcept;

}  // namespace ssd_op::db
