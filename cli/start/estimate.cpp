#include "start/estimate.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "output/text.h"

namespace cli {

namespace {

constexpr double kMb = 1e6;

/// Bytes a second that one drive keeps up, from the slowest to the fastest that are sold.
struct Speed {
    double slowest;
    double fastest;
};
struct DriveSpeed {
    Speed sequential;
    Speed random;  // writes of 4 KiB in the steady state
};
constexpr DriveSpeed kSataSpeed = {{100 * kMb, 520 * kMb}, {10 * kMb, 300 * kMb}};
constexpr DriveSpeed kNvmeSpeed = {{500 * kMb, 3500 * kMb}, {60 * kMb, 1200 * kMb}};

// The measurement: twice the area is written, then rounds of a minute until the rate is steady.
constexpr int kPasses = 2;
constexpr double kFewestRounds = 5 * 60;
constexpr double kMostRounds = 25 * 70;  // with what is stored after each
// Before it, every drive is discarded and measured; at a ratio, the discard of what is cut off.
constexpr TimeRange kOneDrive = {30, 240};
constexpr TimeRange kSettingRatio = {2, 60};

TimeRange operator+(TimeRange a, TimeRange b) {
    return {a.shortest + b.shortest, a.longest + b.longest};
}

TimeRange operator*(TimeRange range, double factor) {
    return {range.shortest * factor, range.longest * factor};
}

TimeRange writing(double bytes, Speed speed) {
    return {bytes / speed.fastest, bytes / speed.slowest};
}

class Estimate {
  public:
    explicit Estimate(const Plan& plan) : plan_(plan) {
        const bool fast = std::all_of(plan.drives.begin(), plan.drives.end(),
                                      [](const Drive& drive) { return drive.is_fast; });
        const DriveSpeed drive = fast ? kNvmeSpeed : kSataSpeed;
        const auto data = static_cast<double>(plan.layout.data_members());
        const double random =
            static_cast<double>(plan.drives.size()) / plan.layout.random_write_cost();
        sequential_ = {drive.sequential.slowest * data, drive.sequential.fastest * data};
        random_ = {drive.random.slowest * random, drive.random.fastest * random};
    }

    TimeRange whole() const {
        const auto volume = static_cast<double>(usable_bytes(plan_));
        TimeRange time =
            kOneDrive * static_cast<double>(plan_.drives.size()) + writing(volume, sequential_);
        for (const int op : plan_.ratios) time = time + ratio(op);
        return time;
    }

  private:
    TimeRange ratio(int op) const {
        const int type = plan_.param.test_type;
        TimeRange time = kSettingRatio;
        if (type != SSD_OP_TEST_TYPE_RANDOM) time = time + part(op, sequential_);
        if (type != SSD_OP_TEST_TYPE_SEQUENTIAL) time = time + part(op, random_);
        if (plan_.param.abort_time > 0) {
            const double most = plan_.param.abort_time + 60.0;  // it is looked at after each round
            time = {std::min(time.shortest, most), std::min(time.longest, most)};
        }
        return time;
    }

    TimeRange part(int op, Speed speed) const {
        uint64_t area = usable_bytes(plan_, op);
        if (plan_.param.test_size > 0) area = std::min(area, plan_.param.test_size * kMib);
        return writing(static_cast<double>(area) * kPasses, speed) +
               TimeRange{kFewestRounds, kMostRounds};
    }

    const Plan& plan_;
    Speed sequential_;
    Speed random_;
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

TimeRange estimate_time(const Plan& plan) { return Estimate(plan).whole(); }

std::string time_range_text(const TimeRange& range) {
    const auto minutes = [](double seconds) {
        return std::max(60.0, 60 * std::floor(seconds / 60));
    };
    return fmt::format("{} to {}", duration_text(minutes(range.shortest)),
                       duration_text(minutes(range.longest)));
}

}  // namespace cli
