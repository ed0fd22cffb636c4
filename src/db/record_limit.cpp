#include "db/record_limit.h"

#include <cstdlib>
#include <cstring>

#include "db/database.h"
#include "db/schema.h"
#include "db/transaction.h"

namespace ssd_op::db {

namespace {

/// Deletes what belongs to the oldest records beyond the limit, the records themselves last.
void delete_beyond(Transaction& transaction, int limit) {
    const Sql oldest =
        sql("SELECT record_no FROM TEST_RECORD ORDER BY record_no ASC"
            "      LIMIT(SELECT COUNT() FROM TEST_RECORD)-%d",
            limit);
    for (const RecordTable* table :
         {&kRuntimeReport, &kTestData, &kSelectDev, &kRaidGroup, &kTestRecord})
        transaction.run(sql("DELETE FROM %s WHERE %s;", table->name,
                            sql(table->of_records, oldest.get()).get()));
}

bool change_limit(Session& session, int limit) {
    const Sql create = sql(kCreateTrigger, limit, limit);
    Transaction transaction(session);
    transaction.run(sql("DROP TRIGGER %s;", "test_record_trigger"));
    int count = 0;
    transaction.query(sql("SELECT COUNT() FROM %s;", "TEST_RECORD"), 1,
                      [&](const Row& row) { count = row.integer(0); });
    if (limit < count) delete_beyond(transaction, limit);
    transaction.require(create);
    return transaction.commit() || session.fail(create);
}

}  // namespace

std::optional<int> read_record_limit(Session& session) {
    int limit = kDefaultRecordLimit;
    const Sql statement =
        sql("SELECT sql FROM sqlite_master"
            "     WHERE type='trigger' AND tbl_name='TEST_RECORD' AND name='test_record_trigger';");
    const bool is_read = session.query(statement, 1, [&](const Row& row) {
        constexpr const char* kBefore = "ON TEST_RECORD WHEN";
        const char* text = row.text(0);
        const char* before = std::strstr(text, kBefore);
        const char* after = std::strchr(text, '<');
        if (before == nullptr || after == nullptr) return false;
        // strtol stops at the '<' by itself.
        limit = static_cast<int>(std::strtol(before + std::strlen(kBefore), nullptr, 10));
        return true;
    });
    return is_read ? std::optional(limit) : std::nullopt;
}

std::optional<int> query_record_limit() noexcept {
    constexpr const char* kFunction = "SSD_OP_DB_Query_Max_Record_Limit";
    return with_session(kFunction, [](Session& session) -> std::optional<int> {
        if (const auto limit = read_record_limit(session)) return limit;
        session.fail("select");
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to query max record limit from database.\n", kFunction);
        return kDefaultRecordLimit;
    });
}

bool update_record_limit(int limit) noexcept {
    return with_session("SSD_OP_DB_Update_Max_Record_Limit",
                        [&](Session& session) { return change_limit(session, limit); });
}

}  // namespace ssd_op::db
