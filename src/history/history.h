/// History room: what a test measured, on its way from its files and records into the database, and
/// out of it again. It may use every room below: the runtime state and the events for a ratio that
/// was skipped and for records that are deleted. An import is one transaction, and so is a
/// deletion.
#pragma once

#include <sqlite3.h>

#include "ssd_op.h"

extern "C" {

/// Stores the results of a record's ratios on an open database: updates those that it has and
/// inserts the others, all of it or nothing. More than SSD_OP_MAX_RATIOS are not looked at. 0 or
/// -1.
int ssd_op_db_insert_test_data(sqlite3* db, const ssd_op_db_record* record);
}
