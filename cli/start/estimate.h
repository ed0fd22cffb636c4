#pragma once

#include "start/plan.h"

namespace cli {

/// Seconds, at best and at worst.
struct TimeRange {
    double shortest;
    double longest;
};

/// What the volume over the plan's group offers, about: the platform keeps some space for itself.
uint64_t usable_bytes(const Plan& plan);

/// What of it a ratio leaves usable.
uint64_t usable_bytes(const Plan& plan, int op);

/// How long the whole evaluation takes. SSDs of one kind differ so much in sustained writes that
/// only a range can be told.
TimeRange estimate_time(const Plan& plan);

/// "2 h 10 min to 9 h 5 min"
std::string time_range_text(const TimeRange& range);

}  // namespace cli
