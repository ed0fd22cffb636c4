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

Transaction::~Transaction() {
    // What cannot be rolled back here (no memory) is when the connection is closed, or by whoever
    // opens the file next.
    if (open_ && sqlite3_get_autocommit(db_) == 0) execute(db_, "ROLLBACK TRANSACTION");
}

int Transaction::run(const char* statement) {
    return failure_ != SQLITE_OK ? failure_ : note(execute(db_, statement));
}

int Transaction::note(int code) {
    const bool is_over = sqlite3_get_autocommit(db_) != 0;
    return is_over || !is_the_statements_own(code) ? end_unless_ok(code) : code;
}

int Transaction::end_unless_ok(int code) {
    if (failure_ == SQLITE_OK) failure_ = code;
    return code;
}

int Transaction::commit() {
    if (failure_ != SQLITE_OK) return failure_;
    failure_ = execute(db_, "COMMIT TRANSACTION");
    open_ = failure_ != SQLITE_OK;
    return failure_;
}

}  // namespace ssd_op::db
