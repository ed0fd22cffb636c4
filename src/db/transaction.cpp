#include "db/transaction.h"

namespace ssd_op::db {

namespace {

/// Whether a statement that failed leaves the transaction fit to go on: it is the statement that is
/// wrong here. On other errors SQLite may have rolled back by itself, and where it has not, a part
/// of the work is missing.
bool is_the_statements_own(int code) {
    constexpr int kPrimary = 0xff;
    switch (code & kPrimary) {
        case SQLITE_OK:
        case SQLITE_ERROR:       // no such table, a column that is there already
        case SQLITE_CONSTRAINT:  // a row that is there already
        case SQLITE_ABORT:       // a query that its reader ended
            return true;
        default:
            return false;
    }
}

}  // namespace

Transaction::Transaction(Session& session)
    : session_(session), open_(session.execute("BEGIN TRANSACTION")), failure_(session.code()) {}

Transaction::~Transaction() {
    // What cannot be rolled back here (no memory) is when the connection is closed, or by whoever
    // opens the file next.
    if (open_ && session_.is_in_transaction()) session_.execute("ROLLBACK TRANSACTION");
}

bool Transaction::note(bool went_well) {
    const int code = session_.code();
    if (!session_.is_in_transaction() || !is_the_statements_own(code)) end(code);
    return went_well;
}

bool Transaction::end_unless(bool went_well) {
    if (!went_well) end(session_.code());
    return went_well;
}

void Transaction::end(int code) {
    if (failure_ == SQLITE_OK) failure_ = code;
}

bool Transaction::commit() {
    if (failure_ != SQLITE_OK) return false;
    open_ = !session_.execute("COMMIT TRANSACTION");
    failure_ = session_.code();
    return !open_;
}

}  // namespace ssd_op::db
