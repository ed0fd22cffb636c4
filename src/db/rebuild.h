#pragma once

#include <functional>
#include <string>

#include <sqlite3.h>

namespace ssd_op::db {

/// A column that a schema version added, with what it gets in rows that are older.
struct AddedColumn {
    const char* table;
    const char* name;
    const char* type;
    const char* fallback;
};

constexpr AddedColumn kAddedInVersion4[] = {{"RUNTIME_REPORT", "write_amount", "TEXT", "0"},
                                            {"SELECT_DEV", "performance_write_r", "TEXT", "0"},
                                            {"SELECT_DEV", "performance_write_s", "TEXT", "0"},
                                            {"SELECT_DEV", "performance_read_r", "TEXT", "0"},
                                            {"SELECT_DEV", "performance_read_s", "TEXT", "0"},
                                            {"TEST_RECORD", "stop_service", "INTEGER", "0"},
                                            {"TEST_RECORD", "lv_size", "TEXT", "0"},
                                            {"TEST_RECORD", "test_size", "TEXT", "0"}};

constexpr AddedColumn kAddedInVersion5[] = {{"TEST_RECORD", "nas_cpu_info", "TEXT", "--"},
                                            {"TEST_RECORD", "nas_mem_info", "TEXT", "--"},
                                            {"TEST_RECORD", "nas_serial_no", "TEXT", "--"}};

/// A table on its way from one form to another.
struct Rebuild {
    const char* table;
    const char* create;  // statement that creates the new form
    /// What else belongs to the step, run after the copy; its result goes into the outcome.
    std::function<int(sqlite3*)> then;
};

/// Moves the table aside under the name TABLE_OLD, creates its new form, copies the rows, drops the
/// old one when they were copied, and does the rest of the step, all in one transaction. Statements
/// that fail because there is nothing to do (no such table, or one that exists already) do not stop
/// it.
///
/// @return OR of the statements' results; -1, with nothing changed, when rows could not be carried
///         over or the transaction failed
int rebuild_table(sqlite3* db, const Rebuild& rebuild);

}  // namespace ssd_op::db
