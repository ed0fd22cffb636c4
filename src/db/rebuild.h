#pragma once

#include <string>

#include "db/transaction.h"

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

bool exists(Transaction& transaction, const std::string& table);

/// Moves a table aside under the name TABLE_OLD, makes its new form with the statement `create`,
/// copies the rows and drops the old one; what is done already, or not there, is passed over.
/// A statement that fails for any other reason ends the transaction.
void rebuild_table(Transaction& transaction, const std::string& table, const char* create);

}  // namespace ssd_op::db
