// Deletion of one record or of all of them, with everything that belongs to them except the drives.

#include <algorithm>
#include <string>
#include <vector>

#include "db/database.h"
#include "db/queries.h"
#include "db/record_owner.h"
#include "db/schema.h"
#include "db/transaction.h"
#include "event/event.h"
#include "history/history.h"
#include "runtime/state_section.h"

namespace ssd_op::history {

namespace {

constexpr const char* kFunction = "SSD_OP_DB_Delete_Record";

/// Deletes in one transaction, then compacts: a record is there with all its parts or not at all.
/// Of the statements that end nothing only the last counts, which deletes the records themselves.
/// What SQLite says of it, or of what ended the transaction.
int delete_rows(db::Session& session, int record_no) {
    db::Transaction transaction(session);
    bool done = false;
    for (const db::RecordTable* table : db::kRecordTables)
        done =
            transaction.run(record_no == SSD_OP_ALL_RECORDS ? db::sql("DELETE FROM %s", table->name)
                                                            : db::deletion(*table, record_no));
    if (done && transaction.commit()) {
        session.execute("VACUUM;");
        return 0;
    }
    SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(delete.\n", kFunction);
    return transaction ? session.code() : transaction.failure();
}

int delete_in_session(int record_no) noexcept {
    const auto result = db::with_session(kFunction, [&](db::Session& session) {
        return std::optional(delete_rows(session, record_no));
    });
    return result.value_or(-1);
}

int delete_all() {
    std::vector<int> records(
        static_cast<size_t>(std::max(db::query_record_count().value_or(1), 1)));
    records.resize(static_cast<size_t>(db::query_record_nos(records).value_or(0)));
    for (const int record_no : records) runtime::remove_state(record_no);
    return delete_in_session(SSD_OP_ALL_RECORDS);
}

int delete_one(int record_no, std::string& title) {
    const db::RecordOwner record = db::load_record(record_no);
    if (!record) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to get record(%d) information.\n", kFunction, record_no);
        return -1;
    }
    title = record->title;
    runtime::remove_state(record_no);
    return delete_in_session(record_no);
}

}  // namespace

int delete_record(int record_no) noexcept {
    return base::guarded(kFunction, -1, [&] {
        SM_TRACE(SM_TRACE_ENTRY, "%s: Enter,record(%d).\n", kFunction, record_no);
        const bool is_all = record_no == SSD_OP_ALL_RECORDS;
        std::string title;
        const int result = is_all ? delete_all() : delete_one(record_no, title);
        if (result != 0) {
            SM_TRACE(SM_TRACE_ERROR, "%s: Fail to delete data from database.\n", kFunction);
            event::write(nullptr, SSD_OP_EVENT_DELETE_FAILED, nullptr, nullptr);
        } else if (is_all) {
            event::write(nullptr, SSD_OP_EVENT_ALL_DELETED, nullptr, nullptr);
        } else {
            event::write(nullptr, SSD_OP_EVENT_RECORD_DELETED, nullptr, title.c_str());
        }
        return result;
    });
}

}  // namespace ssd_op::history
