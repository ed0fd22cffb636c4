#include "view/watch.h"

#include <algorithm>
#include <chrono>

#include <fmt/format.h>
#include <time.h>

#include "output/failure.h"
#include "process/interrupt.h"

namespace cli {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

// Where the driver of a stopped evaluation cannot be told from other processes.
constexpr seconds kLongestClosing{300};

/// Looking runs commands and locks the database; at least nine tenths of the time are left to the
/// evaluation itself. A signal ends the rest.
void rest_after(Clock::duration looking) {
    const auto rest = std::max<Clock::duration>(seconds(1), 9 * looking);
    const auto whole = std::chrono::duration_cast<seconds>(rest);
    const timespec time{whole.count(), static_cast<long>((rest - whole).count())};
    ::nanosleep(&time, nullptr);
}

class Watch {
  public:
    bool has_ended(const Snapshot& snapshot) {
        if (is_running(snapshot.status)) return snapshot.is_orphan();
        if (!closing_since_) closing_since_ = Clock::now();
        return !snapshot.is_closing() || (snapshot.driver == Driver::kUnknown &&
                                          Clock::now() - *closing_since_ > kLongestClosing);
    }

    /// A percentage is computed from several figures that change one after the other, and from one
    /// ratio to the next, or at the end of the fill, a look can meet some old and some new ones.
    /// What is shown never falls, and stays where it was when the evaluation is stopped.
    void keep_from_falling(double& percent) { percent = highest_ = std::max(highest_, percent); }

  private:
    std::optional<Clock::time_point> closing_since_;
    double highest_ = 0;
};

}  // namespace

Watched watch(int record_no, View& view) {
    const Interrupt interrupt;
    Watch watch;
    for (;;) {
        const auto before = Clock::now();
        const Record record = require_record(record_no);
        Snapshot snapshot = take_snapshot(*record);
        watch.keep_from_falling(snapshot.percent);
        view.show(snapshot, *record);
        if (watch.has_ended(snapshot)) return {snapshot};
        if (!interrupt.happened()) rest_after(Clock::now() - before);
        if (interrupt.happened()) return {snapshot, true};
    }
}

void report_end(const Watched& watched) {
    const Snapshot& last = watched.last;
    const int record_no = last.record_no;
    const std::string status = status_word(last.status);
    if (watched.interrupted) {
        throw Failure(
            kStillRuns, fmt::format("Evaluation {} goes on.", record_no),
            fmt::format("ssd-op watch {0} shows it again, ssd-op stop {0} ends it.", record_no));
    }
    if (last.is_orphan()) {
        throw Failure(kFailed,
                      fmt::format("Evaluation {} broke off while it was {}: its process is gone.",
                                  record_no, status),
                      fmt::format("ssd-op stop {} gives its drives and services back.", record_no));
    }
    if (last.status == SSD_OP_TEST_STATUS_COMPLETED) return;
    const bool stopped = last.status == SSD_OP_TEST_STATUS_STOPPED;
    throw Failure(stopped ? kStopped : kFailed,
                  fmt::format("Evaluation {} {}{}.", record_no, stopped ? "was " : "", status),
                  "ssd-op events tells what happened.");
}

}  // namespace cli
