#pragma once

#include <utility>

#include "db/session.h"

namespace ssd_op::db {

/// Statements that are carried out together or not at all: what was not committed is rolled back.
///
/// On some errors (no room, no memory, an I/O error) SQLite ends a transaction by itself, and each
/// statement after that would be committed on its own. So after the first error that is not the
/// statement's own fault, and after whatever else has ended the transaction, nothing runs any more:
/// every call fails, and `failure` is what that first statement ended with.
class Transaction {
  public:
    explicit Transaction(Session& session);
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction();

    Session& session() const { return session_; }

    /// Whether there is something to commit.
    explicit operator bool() const { return failure_ == SQLITE_OK; }
    /// SQLITE_OK, or what ended it.
    int failure() const { return failure_; }

    /// Runs a statement that may fail for a reason of its own (no such table, a constraint), which
    /// ends nothing. Whether it went well.
    bool run(const char* statement) { return *this && note(session_.execute(statement)); }
    bool run(const Sql& statement) { return run(statement.get()); }
    /// The same for a query; see Session::query.
    template <typename OnRow>
    bool query(const Sql& statement, int columns, OnRow&& on_row) {
        return *this && note(session_.query(statement, columns, std::forward<OnRow>(on_row)));
    }

    /// Runs a statement without which the rest makes no sense: whatever it fails for ends the
    /// transaction. Whether it went well.
    bool require(const char* statement) { return end_unless(run(statement)); }
    bool require(const Sql& statement) { return require(statement.get()); }
    /// Ends it after a statement of the session that has failed. `went_well`.
    bool end_unless(bool went_well);
    /// Ends it with a code of SQLite, unless something else has.
    void end(int code);

    /// Whether everything is in the database; if not, nothing is.
    bool commit();

  private:
    /// Takes note of how the session's last statement has ended.
    bool note(bool went_well);

    Session& session_;
    bool open_;  // begun, and not committed
    int failure_;
};

}  // namespace ssd_op::db
