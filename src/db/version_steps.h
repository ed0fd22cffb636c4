#pragma once

// The steps between schema versions. Step N moves a database from version N to N + 1 when `upgrade`
// is 1, and back when it is 0.
//
// A step that changes tables is one transaction with the number of the version that it leads to:
// either all of it happens or, with -1, nothing. What is done already, or has nothing to be done
// to, is passed over. Steps 2 and 5 rebuild a table: the rows keep every column that both forms
// have, `name` and `title` being the same one, and columns that are new get what the steps that add
// them give. 0 or -1.

extern "C" {
int sql_db_ver_callback_0(int upgrade);
int sql_db_ver_callback_1(int upgrade);
int sql_db_ver_callback_2(int upgrade);
int sql_db_ver_callback_3(int upgrade);
int sql_db_ver_callback_4(int upgrade);
int sql_db_ver_callback_5(int upgrade);
}
