#include "history/bulk_insert.h"

#include <cstring>

namespace ssd_op::history {

BulkInsert::BulkInsert(db::Session& session, const char* function, const char* statement)
    : function_(function), transaction_(session) {
    if (!transaction_) {
        fail("Fail to begin transaction", SM_TRACE_INFO);
        return;
    }
    insert_ = session.prepare(statement, static_cast<int>(std::strlen(statement)));
    if (!transaction_.end_unless(insert_ != nullptr))
        SM_TRACE(SM_TRACE_INFO, "%s: Fail to execute sql(%s).\n", function_, statement);
}

bool BulkInsert::step() {
    if (const int result = sqlite3_step(insert_.get()); result != SQLITE_DONE) {
        transaction_.end(result);
        return fail("Fail to step transaction");
    }
    return sqlite3_reset(insert_.get()) == SQLITE_OK || fail("Fail to reset transaction");
}

bool BulkInsert::finish() {
    if (!transaction_.commit()) return fail("Fail to commit transaction", SM_TRACE_INFO);
    return sqlite3_finalize(insert_.release()) == SQLITE_OK ||
           fail("Fail to finalize transaction", SM_TRACE_INFO);
}

bool BulkInsert::fail(const char* what, int level) const {
    SM_TRACE(level, "%s: %s.\n", function_, what);
    return false;
}

}  // namespace ssd_op::history
