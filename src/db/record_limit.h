#pragma once

#include <optional>

#include "db/session.h"

namespace ssd_op::db {

/// How many records the database keeps: the number in its trigger's text, or what a new database
/// has when there is no trigger. Nothing when the query failed; it is aborted, with SQLITE_ABORT,
/// by a text without a limit.
std::optional<int> read_record_limit(Session& session);

/// SSD_OP_DB_Query_Max_Record_Limit.
std::optional<int> query_record_limit() noexcept;
/// SSD_OP_DB_Update_Max_Record_Limit, for a limit above 0.
bool update_record_limit(int limit) noexcept;

}  // namespace ssd_op::db
