#include "history/bulk_insert.h"

#include <string>

#include "platform/naslog.h"

namespace ssd_op::history {

BulkInsert::BulkInsert(const char* function, sqlite3* db, std::string_view statement)
    : function_(function), transaction_(db) {
    if (transaction_.failure() != SQLITE_OK) {
        SM_TRACE(SM_TRACE_INFO, "%s: Fail to begin transaction.\n", function_);
        return;
    }
    sqlite3_stmt* prepared = nullptr;
    const int result = sqlite3_prepare_v2(db, statement.data(), static_cast<int>(statement.size()),
                                          &prepared, nullptr);
    insert_.reset(prepared);
    if (transaction_.end_unless_ok(result) != SQLITE_OK)
        SM_TRACE(SM_TRACE_INFO, "%s: Fail to execute sql(%s).\n", function_,
                 std::string(statement).c_str());
}

bool BulkInsert::step() {
    const int result = sqlite3_step(insert_.get());
    if (result != SQLITE_DONE) {
        transaction_.end_unless_ok(result);
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to step transaction.\n", function_);
        return false;
    }
    if (sqlite3_reset(insert_.get()) == SQLITE_OK) return true;
    SM_TRACE(SM_TRACE_ERROR, "%s: Fail to reset transaction.\n", function_);
    return false;
}

bool BulkInsert::bind_failed() {
    SM_TRACE(SM_TRACE_ERROR, "%s: Fail to bind transaction.\n", function_);
    return false;
}

bool BulkInsert::finish() {
    if (transaction_.commit() != SQLITE_OK) {
        SM_TRACE(SM_TRACE_INFO, "%s: Fail to commit transaction.\n", function_);
        return false;
    }
    if (sqlite3_finalize(insert_.release()) == SQLITE_OK) return true;
    SM_TRACE(SM_TRACE_INFO, "%s: Fail to finalize transaction.\n", function_);
    return false;
}

}  // namespace ssd_op::history
