#include "start/estimate.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "model/time_left.h"
#include "output/text.h"
#include "shared/rehearsal.h"
#include "start/speed.h"

namespace cli {

namespace {

// What the truth is off by at most, as a factor, and what a precedent leaves of it.
constexpr double kSpread = 1.4;
constexpr double kSpreadOfPrecedent = 1.25;

/// Seconds for what takes no writing to a volume.
struct Allowance {
    double drive;   // each is discarded and measured before
    double ratio;   // the discard of what is cut off
    double rounds;  // of a minute, until the rate is steady, with what is stored after each
};
constexpr Allowance kLeast = {30, 2, kRoundsSeconds};
constexpr Allowance kUsual = {140, 10, kRoundsSeconds + 30};
constexpr Allowance kMost = {240, 60, 25 * 70};

class Sum {
  public:
    Sum(const Plan& plan, const VolumeSpeed& speed, const Allowance& allowance)
        : plan_(plan), speed_(speed), allowance_(allowance) {}

    double whole() const {
        double seconds = allowance_.drive * static_cast<double>(plan_.drives.size()) +
                         static_cast<double>(usable_bytes(plan_)) / speed_.sequential;
        for (const int op : plan_.ratios) seconds += ratio(op);
        return seconds;
    }

  private:
    double ratio(int op) const {
        const int type = plan_.param.test_type;
        double seconds = allowance_.ratio;
        if (type != SSD_OP_TEST_TYPE_RANDOM) seconds += part(op, speed_.sequential);
        if (type != SSD_OP_TEST_TYPE_SEQUENTIAL) seconds += part(op, speed_.random(op));
        if (plan_.param.abort_time == 0) return seconds;
        return std::min(seconds, plan_.param.abort_time + 60.0);  // looked at after each round
    }

    double part(int op, double bytes_second) const {
        uint64_t area = usable_bytes(plan_, op);
        if (plan_.param.test_size > 0) area = std::min(area, plan_.param.test_size * kMib);
        return static_cast<double>(area) * kPasses / bytes_second +
               allowance_.rounds * ssd_op::shared::round_seconds_of(plan_.param.title) /
                   kRoundSeconds;
    }

    const Plan& plan_;
    const VolumeSpeed& speed_;
    const Allowance& allowance_;
};

}  // namespace

uint64_t usable_bytes(const Plan& plan) {
    uint64_t smallest = UINT64_MAX;
    for (const Drive& drive : plan.drives) smallest = std::min(smallest, drive.data_bytes);
    return smallest * plan.layout.data_members();
}

uint64_t usable_bytes(const Plan& plan, int op) {
    return usable_bytes(plan) * static_cast<uint64_t>(100 - op) / 100;
}

TimeRange possible_time(const Plan& plan) {
    return {Sum(plan, fastest_speed(plan), kLeast).whole(),
            Sum(plan, slowest_speed(plan), kMost).whole()};
}

TimeEstimate estimate_time(const Plan& plan, const Knowledge& knowledge) {
    const double usual = Sum(plan, usual_speed(plan, knowledge), kUsual).whole();
    const double spread = knowledge.precedent ? kSpreadOfPrecedent : kSpread;
    TimeEstimate estimate{{usual / spread, usual * spread}, {}, {}, {}};
    if (knowledge.precedent)
        estimate.record_no = knowledge.precedent->record_no;
    else if (knowledge.figures)
        estimate.from_figures = true;
    else
        estimate.possible = possible_time(plan);
    return estimate;
}

std::string time_range_text(const TimeRange& range) {
    const auto minutes = [](double seconds) {
        return std::max(60.0, 60 * std::floor(seconds / 60));
    };
    return fmt::format("{} to {}", duration_text(minutes(range.shortest)),
                       duration_text(minutes(range.longest)));
}

}  // namespace cli
