#pragma once

#include <sqlite3.h>

namespace ssd_op::db {

/// How many records the database keeps: the number in its trigger's text. `limit` stays as it is
/// when there is no trigger. SQLITE_OK, or what failed; SQLITE_ABORT for a text without a limit.
int read_record_limit(sqlite3* db, int& limit);

}  // namespace ssd_op::db
