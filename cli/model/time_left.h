#pragma once

#include <optional>
#include <vector>

#include "model/write_cost.h"
#include "shared/rehearsal.h"

namespace cli {

constexpr int kPasses = 2;  // over the area under test, before it is measured
constexpr int kRounds = 5;  // at least, until a rate is steady
constexpr double kRoundSeconds = ssd_op::shared::kRoundSeconds;
constexpr double kRoundsSeconds = kRounds * kRoundSeconds;

/// A ratio of a running evaluation that was measured, or given up.
struct FinishedRatio {
    int op;
    double seconds;
    double written;  // bytes
    double iops;
    std::optional<double> write_amplification;
    double round_seconds = kRoundSeconds;  // with what is stored after each
};

/// How a running evaluation has gone so far.
struct Course {
    Layout layout;
    double volume;  // bytes, all of it
    DriveUse use;   // its flash counts where no write amplification was measured
    bool sequential = false;
    std::vector<int> later;  // ratios that are still to come
    std::optional<FinishedRatio> last;
    double round_seconds = kRoundSeconds;  // as the script counts them

    int op;             // measured now
    double elapsed;     // seconds since its start
    double told_left;   // seconds that the script gave it when it told last; below 0: it has not
    double told_at;     // seconds after the start of the ratio
    double told_share;  // 0 to 1, of the ratio that was done then
    double iops;        // at that time; 0: unknown

    double rounds_seconds() const { return kRounds * round_seconds; }
};

/// Seconds until the last ratio is measured; none before anything can be said.
std::optional<double> time_left(const Course& course);

}  // namespace cli
