#pragma once

namespace ssd_op::db {

// The steps between schema versions. Step N moves a database from version N to N + 1, or back.
//
// A step that changes tables is one transaction with the number of the version that it leads to:
// either all of it happens or, with false, nothing. What is done already, or has nothing to be done
// to, is passed over. Steps 2 and 5 rebuild a table: the rows keep every column that both forms
// have, `name` and `title` being the same one, and columns that are new get what the steps that add
// them give.

bool sql_db_ver_callback_0(bool upgrade);
bool sql_db_ver_callback_1(bool upgrade);
bool sql_db_ver_callback_2(bool upgrade);
bool sql_db_ver_callback_3(bool upgrade);
bool sql_db_ver_callback_4(bool upgrade);
bool sql_db_ver_callback_5(bool upgrade);

}  // namespace ssd_op::db
