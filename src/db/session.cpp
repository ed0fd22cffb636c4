#include "db/session.h"

#include "platform/naslog.h"

namespace ssd_op::db {

Session::Session(const char* function, const std::string& path) : function_(function) {
    // As sqlite3_open does it, save that the connection has no mutex of its own: it never leaves
    // the function that opened it, and taking one for each column read costs as much as the
    // reading.
    constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    constexpr int kBusyTimeoutMs = 20000;
    sqlite3* opened = nullptr;
    const bool is_open = note(sqlite3_open_v2(path.c_str(), &opened, kFlags, nullptr));
    connection_.reset(opened);
    // A process that is killed gives up the library's lock before SQLite's: its files are closed in
    // the order in which they were opened.
    if (is_open)
        sqlite3_busy_timeout(opened, kBusyTimeoutMs);
    else
        connection_.reset();
}

bool Session::execute(const char* statement) {
    return note(sqlite3_exec(connection_.get(), statement, nullptr, nullptr, nullptr));
}

std::optional<int> Session::number(const Sql& statement) {
    int value = 0;
    if (!query(statement, 1, [&](const Row& row) { value = row.integer(0); })) return std::nullopt;
    return value;
}

std::optional<int> Session::number(const Sql& statement, const char* what) {
    const std::optional<int> value = number(statement);
    if (!value) fail(what);
    return value;
}

Statement Session::prepare(const char* statement, int size) {
    sqlite3_stmt* prepared = nullptr;
    note(sqlite3_prepare_v2(connection_.get(), statement, size, &prepared, nullptr));
    return Statement(prepared);
}

const char* Session::error() const {
    // An aborted query is our doing, of which the connection knows nothing.
    return code_ == SQLITE_ABORT ? sqlite3_errstr(code_) : sqlite3_errmsg(connection_.get());
}

bool Session::fail(const char* what) const {
    SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(%s).\n", function_, what);
    return false;
}

}  // namespace ssd_op::db
