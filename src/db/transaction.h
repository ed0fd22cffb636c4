#pragma once

#include <utility>

#include "db/sql.h"

namespace ssd_op::db {

/// Statements that are carried out together or not at all: what was not committed is rolled back.
///
/// On some errors (no room, no memory, an I/O error) SQLite ends a transaction by itself, and each
/// statement after that would be committed on its own. So after the first error that is not the
/// statement's own fault, and after whatever else has ended the transaction, nothing runs any more:
/// every call returns what that first statement ended with.
class Transaction {
  public:
    explicit Transaction(sqlite3* db)
        : db_(db), failure_(execute(db, "BEGIN TRANSACTION")), open_(failure_ == SQLITE_OK) {}
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction();

    sqlite3* connection() const { return db_; }

    /// SQLITE_OK for as long as there is something to commit; else what ended it.
    int failure() const { return failure_; }

    /// Runs a statement that may fail for a reason of its own (no such table, a constraint), which
    /// ends nothing. SQLITE_OK, or what failed.
    int run(const char* statement);
    int run(const Sql& statement) { return run(statement.get()); }
    /// The same for a query; see db::query.
    template <typename OnRow>
    int query(const Sql& statement, int columns, OnRow&& on_row) {
        if (failure_ != SQLITE_OK) return failure_;
        return note(db::query(db_, statement, columns, std::forward<OnRow>(on_row)));
    }
    /// Takes note of how a statement ended that was run elsewhere. `code`.
    int note(int code);

    /// Runs a statement without which the rest makes no sense: whatever it fails for ends the
    /// transaction. SQLITE_OK, or what failed.
    int require(const char* statement) { return end_unless_ok(run(statement)); }
    int require(const Sql& statement) { return require(statement.get()); }
    int end_unless_ok(int code);

    /// SQLITE_OK when everything is in the database; else what ended it, and nothing is.
    int commit();

  private:
    sqlite3* db_;
    int failure_;
    bool open_;  // begun, and not committed
};

}  // namespace ssd_op::db
