#include "db/sql.h"

namespace ssd_op::db {

int execute(sqlite3* db, const char* statement) {
    return sqlite3_exec(db, statement, nullptr, nullptr, nullptr);
}

int execute(sqlite3* db, const Sql& statement) { return execute(db, statement.get()); }

const char* error_text(sqlite3* db, int code) {
    // An aborted query is our doing, of which the connection knows nothing.
    return code == SQLITE_ABORT ? sqlite3_errstr(code) : sqlite3_errmsg(db);
}

int query_number(sqlite3* db, const Sql& statement, int& value) {
    return query(db, statement, 1, [&](const Row& row) { value = row.integer(0); });
}

}  // namespace ssd_op::db
