#pragma once

#include <optional>
#include <string>
#include <type_traits>

#include "db/sql.h"

namespace ssd_op::db {

/// A database file that is open, and the function that it is open for: messages carry its name.
class Session {
  public:
    /// Opens a file, which is made when there is none.
    Session(const char* function, const std::string& path);
    /// Has nothing open.
    explicit Session(const char* function) : function_(function) {}

    explicit operator bool() const { return connection_ != nullptr; }
    const char* function() const { return function_; }

    // Statements. Whether each went well; `code` and `error` tell of the last one.

    /// Runs a statement whose rows nobody wants.
    bool execute(const char* statement);
    bool execute(const Sql& statement) { return execute(statement.get()); }

    /// Calls `on_row` for each row; one that returns false aborts the query, as does a result of
    /// other than `columns` columns.
    template <typename OnRow>
    bool query(const Sql& statement, int columns, OnRow&& on_row);

    /// Reads one number: the first column of the last row, 0 when there is none.
    std::optional<int> number(const Sql& statement);
    /// The same; when it fails, with the message of `fail(what)`.
    std::optional<int> number(const Sql& statement, const char* what);

    /// Prepares a statement, of which `size` is the length; null when it went wrong.
    Statement prepare(const char* statement, int size = -1);

    int code() const { return code_; }
    /// In words, until the next statement.
    const char* error() const;
    /// Rows that the last statement has changed.
    int changed_rows() const { return sqlite3_changes(connection_.get()); }
    /// The number of the row that was inserted last.
    int64_t inserted_row() const { return sqlite3_last_insert_rowid(connection_.get()); }
    bool is_in_transaction() const { return sqlite3_get_autocommit(connection_.get()) == 0; }

    /// The message that a statement has failed: how, or its kind, or its text. False.
    bool fail() const { return fail(error()); }
    bool fail(const char* what) const;
    bool fail(const Sql& statement) const { return fail(statement.get()); }

  private:
    /// Whether SQLite was content.
    bool note(int code) { return (code_ = code) == SQLITE_OK; }

    const char* function_;
    Connection connection_;
    int code_ = SQLITE_OK;
};

template <typename OnRow>
bool Session::query(const Sql& statement, int columns, OnRow&& on_row) {
    const Statement prepared = prepare(statement.get());
    if (!prepared) return false;
    if (sqlite3_column_count(prepared.get()) != columns) return note(SQLITE_ABORT);
    const Row row(prepared.get());
    for (;;) {
        const int step = sqlite3_step(prepared.get());
        if (step != SQLITE_ROW) return note(step == SQLITE_DONE ? SQLITE_OK : step);
        if constexpr (std::is_void_v<std::invoke_result_t<OnRow, const Row&>>)
            on_row(row);
        else if (!on_row(row))
            return note(SQLITE_ABORT);
    }
}

}  // namespace ssd_op::db
