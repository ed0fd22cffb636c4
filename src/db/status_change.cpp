#include "db/status_change.h"

#include <unistd.h>

#include "db/database.h"
#include "db/running_records.h"

namespace ssd_op::db {

namespace {

constexpr const char* kFunction = "ssd_op_db_change_status";
constexpr int kTries = 5;
constexpr int kPauseMicroseconds = 250'000;

StatusChange try_to_change(int record_no, int from, int to) noexcept {
    using Outcome = std::optional<StatusChange>;
    const Outcome outcome = with_session(kFunction, [&](Session& session) -> Outcome {
        if (session.execute(
                sql("UPDATE TEST_RECORD SET status='%d' WHERE record_no='%d' AND status='%d';", to,
                    record_no, from)))
            return session.changed_rows() > 0 ? StatusChange::kChanged : StatusChange::kWasOther;
        SM_TRACE(SM_TRACE_ERROR, "%s: [Record(%d)] Fail to execute sql(update): %s.\n", kFunction,
                 record_no, session.error());
        return std::nullopt;
    });
    return outcome.value_or(StatusChange::kNotWritten);
}

}  // namespace

StatusChange change_status(int record_no, int from, int to) noexcept {
    for (int tries = 1;; ++tries) {
        const StatusChange outcome = try_to_change(record_no, from, to);
        // A try that was reported as failed may have reached the disk all the same.
        const bool repeated = tries > 1;
        if (outcome == StatusChange::kWasOther && repeated && stored_status(record_no) == to)
            return StatusChange::kChanged;
        if (outcome != StatusChange::kNotWritten || tries == kTries) return outcome;
        ::usleep(kPauseMicroseconds);
    }
}

}  // namespace ssd_op::db
