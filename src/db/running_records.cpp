#include "db/running_records.h"

#include "db/database.h"
#include "ssd_op.h"

namespace ssd_op::db {

namespace {

using Numbers = std::optional<std::vector<int>>;

/// The first column of all rows, for the function of that name.
template <typename... Values>
Numbers query_numbers(const char* function, const char* format, Values... values) noexcept {
    return with_session(function, [&](Session& session) {
        Numbers found(std::in_place);
        if (!session.query(sql(format, values...), 1,
                           [&](const Row& row) { found->push_back(row.integer(0)); })) {
            session.fail("select");
            found.reset();
        }
        return found;
    });
}

std::optional<bool> is_any(const Numbers& found) {
    return found ? std::optional(!found->empty()) : std::nullopt;
}

}  // namespace

std::optional<std::vector<int>> running_records(int max) noexcept {
    return query_numbers("ssd_op_db_running_records",
                         "SELECT record_no FROM TEST_RECORD WHERE status IN (%d, %d, %d) "
                         "ORDER BY record_no LIMIT %d;",
                         SSD_OP_TEST_STATUS_INITIATING, SSD_OP_TEST_STATUS_TESTING,
                         SSD_OP_TEST_STATUS_FINISHING, max);
}

std::optional<bool> record_exists(int record_no) noexcept {
    return is_any(query_numbers("ssd_op_db_record_exists",
                                "SELECT record_no FROM TEST_RECORD WHERE record_no='%d';",
                                record_no));
}

std::optional<int> stored_status(int record_no) noexcept {
    const Numbers found =
        query_numbers("ssd_op_db_stored_status",
                      "SELECT status FROM TEST_RECORD WHERE record_no='%d';", record_no);
    if (!found || found->empty()) return std::nullopt;
    return found->front();
}

std::optional<bool> newer_record_has_group(int record_no, int raid_id) noexcept {
    return is_any(query_numbers(
        "ssd_op_db_newer_record_has_group",
        "SELECT f_record_no FROM RAID_GROUP WHERE raid_id='%d' AND f_record_no>%d LIMIT 1;",
        raid_id, record_no));
}

}  // namespace ssd_op::db
