// Runtime reports: all rows of a ratio, or some of them.

#include <algorithm>

#include "db/database.h"
#include "db/list.h"
#include "db/queries.h"
#include "db/sample_ranges.h"

namespace ssd_op::db {

namespace {

constexpr const char* kQuery = "SSD_OP_DB_Query_Record_Runtime_Report";

/// For a statement that goes through a table once: SQLite keeps pages that nobody will ask for
/// again.
void keep_few_pages(Session& session) { session.execute("PRAGMA cache_size = -128;"); }

/// Reads the rows that `statement` selects, all of one ratio, into a new list.
bool read_samples(Session& session, ssd_op_db_record& record, int percentage,
                  const Sql& statement) {
    keep_few_pages(session);
    List<ssd_op_db_runtime_report> list(record.runtime_report);
    const bool is_read = session.query(statement, 4, [&](const Row& row) {
        auto* node = list.append("ssd_op_db_record_runtime_report_callback");
        if (node == nullptr) return false;
        node->percentage = percentage;  // as the statement asks; a column costs time
        node->time_slap = row.integer64(1);
        node->result = row.integer(2);
        node->write_amount = row.unsigned_decimal(3);
        return true;
    });
    return is_read || session.fail(statement);
}

}  // namespace

bool query_samples(ssd_op_db_record& record, int record_no, int percentage, int every) noexcept {
    return with_session(kQuery, [&](Session& session) {
        return read_samples(
            session, record, percentage,
            sql("SELECT percentage, time_slap, result, write_amount"
                "     FROM RUNTIME_REPORT WHERE f_record_no=%d AND percentage=%d AND rowid%%%d=0;",
                record_no, percentage, every));
    });
}

SampleRanges::SampleRanges(int record_no, std::span<const int> ratios) : record_no_(record_no) {
    for (const int ratio : ratios) ranges_[ratio];
    found_ = ranges_.empty() || find();
}

bool SampleRanges::find() {
    return with_session(kQuery, [&](Session& session) {
        const Sql statement =
            sql("SELECT rowid, percentage FROM RUNTIME_REPORT WHERE f_record_no=%d;", record_no_);
        keep_few_pages(session);
        auto at = ranges_.end();  // rows of a ratio mostly follow each other
        return session.query(statement, 2, [&](const Row& row) {
            const int percentage = row.integer(1);
            if (at == ranges_.end() || at->first != percentage) at = ranges_.find(percentage);
            if (at == ranges_.end()) return;
            // The order in which rows come is the database's business, an index may decide it.
            const int64_t number = row.integer64(0);
            at->second.first = std::min(at->second.first, number);
            at->second.last = std::max(at->second.last, number);
            ++at->second.rows;
        });
    });
}

std::optional<uint64_t> SampleRanges::rows(int percentage) const {
    if (!found_) return std::nullopt;
    const auto at = ranges_.find(percentage);
    return at == ranges_.end() ? 0 : at->second.rows;
}

bool SampleRanges::read(ssd_op_db_record& record, int percentage) const {
    if (!found_) return query_samples(record, record_no_, percentage, 1);
    const auto at = ranges_.find(percentage);
    const Range range = at == ranges_.end() ? Range{} : at->second;
    return with_session(kQuery, [&](Session& session) {
        return read_samples(session, record, percentage,
                            sql("SELECT percentage, time_slap, result, write_amount"
                                "     FROM RUNTIME_REPORT WHERE f_record_no=%d AND percentage=%d"
                                " AND rowid BETWEEN %lld AND %lld;",
                                record_no_, percentage, static_cast<long long>(range.first),
                                static_cast<long long>(range.last)));
    });
}

}  // namespace ssd_op::db
