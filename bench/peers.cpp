#include "peers.h"

#include <cstdlib>

#include <sqlite3.h>

namespace bench {

int read_rows(const char* database, int percentage) {
    sqlite3* db = nullptr;
    sqlite3_stmt* statement = nullptr;
    int64_t sum = 0;
    if (sqlite3_open(database, &db) != SQLITE_OK) return -1;
    sqlite3_prepare_v2(db,
                       "SELECT percentage, time_slap, result, write_amount FROM RUNTIME_REPORT "
                       "WHERE f_record_no=1 AND percentage=?1 AND rowid%1=0;",
                       -1, &statement, nullptr);
    sqlite3_bind_int(statement, 1, percentage);
    int rows = 0;
    for (; sqlite3_step(statement) == SQLITE_ROW; ++rows) {
        sum += sqlite3_column_int(statement, 0);
        sum += sqlite3_column_int64(statement, 1);
        sum += sqlite3_column_int(statement, 2);
        sum += sqlite3_column_bytes(statement, 3);
    }
    sqlite3_finalize(statement);
    sqlite3_close(db);
    return rows > 0 && sum != 0 ? 0 : -1;
}

int poll_bare(const char* database, int times) {
    int polled = 0;
    for (int i = 0; i < times; ++i) {
        sqlite3* db = nullptr;
        sqlite3_stmt* statement = nullptr;
        sqlite3_open(database, &db);
        sqlite3_prepare_v2(db, "SELECT status FROM TEST_RECORD WHERE record_no='1';", -1,
                           &statement, nullptr);
        if (sqlite3_step(statement) == SQLITE_ROW && sqlite3_column_int(statement, 0) == 0)
            ++polled;
        sqlite3_finalize(statement);
        sqlite3_close(db);
    }
    return polled == times ? 0 : -1;
}

}  // namespace bench
