#pragma once

#include <optional>

#include "model/results.h"
#include "model/write_cost.h"
#include "start/plan.h"

namespace cli {

/// Seconds, at best and at worst.
struct TimeRange {
    double shortest;
    double longest;
};

/// What one drive did when it was measured empty.
struct Figures {
    double write_bytes_second;  // in sequence
    double write_iops;
};

/// An earlier evaluation of drives of the same models, by random writes.
struct Precedent {
    int record_no;
    Layout layout;
    DriveUse use;
    std::vector<Rate> rates;  // at least one
};

/// What tells how fast the drives of a plan are.
struct Knowledge {
    std::optional<Precedent> precedent;
    std::optional<Figures> figures;  // of the slowest
};

struct TimeEstimate {
    TimeRange range;
    std::optional<int> record_no;  // that it follows from
    bool from_figures = false;
    /// When nothing of the drives was measured: SSDs of one kind differ so much in sustained writes
    /// that they may take anything in this range.
    std::optional<TimeRange> possible;
};

/// What the volume over the plan's group offers, about: the platform keeps some space for itself.
uint64_t usable_bytes(const Plan& plan);

/// What of it a ratio leaves usable.
uint64_t usable_bytes(const Plan& plan, int op);

/// How long the whole evaluation takes.
TimeEstimate estimate_time(const Plan& plan, const Knowledge& knowledge);

/// How long it can take with any drives that are sold.
TimeRange possible_time(const Plan& plan);

/// "2 h 10 min to 4 h 5 min"
std::string time_range_text(const TimeRange& range);

}  // namespace cli
