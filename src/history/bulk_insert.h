#pragma once

#include <string_view>

#include "db/transaction.h"
#include "platform/naslog.h"

namespace ssd_op::history {

/// Rows into one table, all or none: a transaction and the statement that inserts. Every failure is
/// traced under the name of the function that imports. What was not finished is rolled back, with
/// all that was done in the transaction beside it.
class BulkInsert {
  public:
    /// Begins the transaction and prepares `statement`, whose parameters are ?1, ?2, ...
    BulkInsert(db::Session& session, const char* function, const char* statement);

    /// Whether rows can be inserted.
    explicit operator bool() const { return insert_ != nullptr; }
    db::Transaction& transaction() { return transaction_; }

    /// Inserts a row. Texts have to live until the call returns.
    template <typename... Values>
    bool insert(Values... values) {
        int index = 0;
        int result = SQLITE_OK;
        ((result |= bind(++index, values)), ...);
        return result == SQLITE_OK ? step() : fail("Fail to bind transaction");
    }

    bool finish();

  private:
    int bind(int index, int value) { return sqlite3_bind_int(insert_.get(), index, value); }
    int bind(int index, std::string_view text) {
        return sqlite3_bind_text(insert_.get(), index, text.data(), static_cast<int>(text.size()),
                                 SQLITE_STATIC);
    }
    bool step();
    bool fail(const char* what, int level = SM_TRACE_ERROR) const;

    const char* function_;
    db::Transaction transaction_;  // first: the statement goes before it rolls back
    db::Statement insert_;
};

}  // namespace ssd_op::history
