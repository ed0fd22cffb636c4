#include "follow.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include <fmt/format.h>

namespace cli {

namespace {

using Clock = std::chrono::steady_clock;

Snapshot look(int record_no) { return take_snapshot(*load_record(record_no)); }

/// Looking runs commands and locks the database; at least nine tenths of the time are left to the
/// evaluation itself.
void rest_after(Clock::duration looking) {
    std::this_thread::sleep_for(std::max<Clock::duration>(std::chrono::seconds(1), 9 * looking));
}

/// A log gets a line when the phase or the ratio changes, and at every tenth of the way.
std::string log_line(const Snapshot& snapshot) {
    const int tenth = static_cast<int>(snapshot.percent / 10) * 10;
    return fmt::format("{:3d} %  {}", tenth, phase_text(snapshot));
}

}  // namespace

Snapshot follow(Launched& launched, bool quiet) {
    LiveLine line;
    for (;;) {
        const bool ended = launched.has_ended();
        const auto before = Clock::now();
        const Snapshot snapshot = look(launched.record_no());
        if (!quiet) line.show(line.is_live() ? progress_line(snapshot) : log_line(snapshot));
        if (ended) return snapshot;
        rest_after(Clock::now() - before);
    }
}

}  // namespace cli
