#include "db/running_records.h"

#include "db/database.h"

namespace ssd_op::db {

namespace {

/// The first column of all rows.
std::optional<std::vector<int>> numbers(const char* function, sqlite3* connection,
                                        const Sql& statement) {
    std::vector<int> found;
    const int result =
        query(connection, statement, 1, [&](const Row& row) { found.push_back(row.integer(0)); });
    if (result == SQLITE_OK) return found;
    SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(select).\n", function);
    return std::nullopt;
}

using Numbers = std::optional<std::vector<int>>;

}  // namespace

std::optional<std::vector<int>> running_records(int max) noexcept {
    const char* function = "ssd_op_db_running_records";
    return with_session(function, Numbers(), [&](sqlite3* connection) {
        return numbers(function, connection,
                       sql("SELECT record_no FROM TEST_RECORD WHERE status IN (%d, %d, %d) "
                           "ORDER BY record_no LIMIT %d;",
                           SSD_OP_TEST_STATUS_INITIATING, SSD_OP_TEST_STATUS_TESTING,
                           SSD_OP_TEST_STATUS_FINISHING, max));
    });
}

std::optional<bool> record_exists(int record_no) noexcept {
    const char* function = "ssd_op_db_record_exists";
    const Numbers found = with_session(function, Numbers(), [&](sqlite3* connection) {
        return numbers(function, connection,
                       sql("SELECT record_no FROM TEST_RECORD WHERE record_no='%d';", record_no));
    });
    if (!found) return std::nullopt;
    return !found->empty();
}

std::optional<int> stored_status(int record_no) noexcept {
    const char* function = "ssd_op_db_stored_status";
    const Numbers found = with_session(function, Numbers(), [&](sqlite3* connection) {
        return numbers(function, connection,
                       sql("SELECT status FROM TEST_RECORD WHERE record_no='%d';", record_no));
    });
    if (!found || found->empty()) return std::nullopt;
    return found->front();
}

std::optional<bool> newer_record_has_group(int record_no, int raid_id) noexcept {
    const char* function = "ssd_op_db_newer_record_has_group";
    const Numbers found = with_session(function, Numbers(), [&](sqlite3* connection) {
        return numbers(function, connection,
                       sql("SELECT f_record_no FROM RAID_GROUP WHERE raid_id='%d' AND "
                           "f_record_no>%d LIMIT 1;",
                           raid_id, record_no));
    });
    if (!found) return std::nullopt;
    return !found->empty();
}

}  // namespace ssd_op::db
