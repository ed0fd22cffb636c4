// Queries whose answer is a number or a list of numbers.

#include <string>

#include "db/database.h"
#include "db/overflow.h"
#include "db/queries.h"

namespace ssd_op::db {

namespace {

/// The first column of as many rows as fit, and how many these are.
std::optional<int> read_numbers(Session& session, const Sql& statement, std::span<int> numbers) {
    int count = 0;
    Overflow overflow(session.function());
    const bool is_read = session.query(statement, 1, [&](const Row& row) {
        if (overflow.fits(count, static_cast<int>(numbers.size())))
            numbers[static_cast<size_t>(count++)] = row.integer(0);
    });
    if (is_read) return count;
    session.fail("select");
    return std::nullopt;
}

std::string comma_list(std::span<const int> numbers) {
    std::string list;
    for (const int number : numbers) {
        if (!list.empty()) list += ',';
        list += std::to_string(number);
    }
    return list;
}

}  // namespace

std::optional<bool> has_record(int record_no) noexcept {
    return with_session("SSD_OP_DB_Record_Is_Exist", [&](Session& session) {
        const auto count =
            session.number(sql("SELECT COUNT() FROM TEST_RECORD WHERE record_no='%d';", record_no));
        if (!count) session.fail("update");
        return std::optional(count.value_or(0) > 0);
    });
}

bool is_unknown(const char* function, int record_no) noexcept {
    if (has_record(record_no) != false) return false;
    SM_TRACE(SM_TRACE_ERROR, "%s: The record(%d) is not exist.\n", function, record_no);
    return true;
}

std::optional<int> query_record_nos(std::span<int> numbers) noexcept {
    return with_session("SSD_OP_DB_Query_Record_No", [&](Session& session) {
        return read_numbers(session,
                            sql("SELECT record_no FROM TEST_RECORD ORDER BY record_no LIMIT %d;",
                                static_cast<int>(numbers.size())),
                            numbers);
    });
}

std::optional<int> query_ratios(int record_no, std::span<int> ratios) noexcept {
    return with_session("SSD_OP_DB_Query_Runtime_Percentage", [&](Session& session) {
        return read_numbers(
            session,
            sql("SELECT DISTINCT percentage     FROM RUNTIME_REPORT WHERE f_record_no=%d;",
                record_no),
            ratios);
    });
}

std::optional<int> query_record_count() noexcept {
    return with_session("SSD_OP_DB_Query_Record_Count", [](Session& session) {
        return session.number(sql("SELECT COUNT() FROM %s;", "TEST_RECORD"), "select");
    });
}

std::optional<int> query_newest_record() noexcept {
    return with_session("SSD_OP_DB_Get_Newest_Record", [](Session& session) {
        // Counted while this session is held, so that the count is still true afterwards.
        if (query_record_count().value_or(0) < 1) return std::optional(0);
        const auto newest = session.number(
            sql("SELECT record_no FROM TEST_RECORD ORDER BY record_no DESC LIMIT %d;", 1),
            "update");
        return std::optional(newest.value_or(0));
    });
}

std::optional<int> query_status(int record_no) noexcept {
    return with_session("SSD_OP_DB_Query_Record_Status", [&](Session& session) {
        // One way through the database also tells whether there is such a record: this is what
        // whoever watches a test asks all the time.
        std::optional<int> status;
        if (!session.query(sql("SELECT status FROM TEST_RECORD WHERE record_no='%d';", record_no),
                           1, [&](const Row& row) { status = row.integer(0); }))
            session.fail();
        else if (!status)
            SM_TRACE(SM_TRACE_ERROR, "%s: The record(%d) is not exist.\n", session.function(),
                     record_no);
        return status;
    });
}

std::optional<int> query_select_no(int record_no, int raid_id, int dev_id) noexcept {
    constexpr const char* kFunction = "SSD_OP_DB_Query_SSD_Select_No";
    if (is_unknown(kFunction, record_no)) return std::nullopt;
    return with_session(kFunction, [&](Session& session) {
        const auto select_no = session.number(
            sql("SELECT select_no FROM SELECT_DEV WHERE f_raid_no IN"
                "     (SELECT raid_no FROM RAID_GROUP WHERE raid_id = %d AND f_record_no = %d)"
                " AND dev_id = %d;",
                raid_id, record_no, dev_id));
        if (!select_no) session.fail();
        return select_no;
    });
}

bool is_one_in_test(std::span<const int> dev_ids) noexcept {
    return with_session("SSD_OP_DB_Query_SSD_In_Testing", [&](Session& session) {
        const int running[] = {SSD_OP_TEST_STATUS_INITIATING, SSD_OP_TEST_STATUS_TESTING,
                               SSD_OP_TEST_STATUS_FINISHING};
        const auto count =
            session.number(sql("SELECT count() FROM"
                               "     (SELECT dev_id FROM SELECT_DEV WHERE f_raid_no IN"
                               "     (SELECT raid_no FROM RAID_GROUP WHERE f_record_no IN"
                               "     (SELECT record_no FROM 'TEST_RECORD' WHERE status IN (%s)"
                               "     ORDER BY record_no DESC LIMIT 0,1))) WHERE dev_id IN (%s);",
                               comma_list(running).c_str(), comma_list(dev_ids).c_str()),
                           "select");
        return count.value_or(0) > 0;
    });
}

std::optional<int> query_sample_count(int record_no, int percentage) noexcept {
    return with_session("SSD_OP_DB_Query_Record_Runtime_Count", [&](Session& session) {
        const Sql statement =
            sql("SELECT COUNT() FROM RUNTIME_REPORT     WHERE f_record_no=%d AND percentage=%d;",
                record_no, percentage);
        return std::optional(session.number(statement, statement.get()).value_or(0));
    });
}

}  // namespace ssd_op::db
