#include "model/knee.h"

#include <algorithm>

namespace cli {

namespace {

/// Rates that share their mean, as they would fall otherwise.
struct Level {
    double sum;
    size_t count;
    double mean() const { return sum / static_cast<double>(count); }
};

double gain_of_a_percent(const Rate& from, const Rate& to) {
    return (to.iops - from.iops) / (to.op - from.op);
}

/// Of the straight line from the first rate to the last.
double line_at(const std::vector<Rate>& rates, int op) {
    const Rate& first = rates.front();
    return first.iops + gain_of_a_percent(first, rates.back()) * (op - first.op);
}

}  // namespace

std::vector<Rate> without_falls(const std::vector<Rate>& rates) {
    std::vector<Level> levels;
    for (const Rate& rate : rates) {
        levels.push_back({rate.iops, 1});
        while (levels.size() > 1 && levels.back().mean() < levels[levels.size() - 2].mean()) {
            const Level last = levels.back();
            levels.pop_back();
            levels.back().sum += last.sum;
            levels.back().count += last.count;
        }
    }
    std::vector<Rate> risen = rates;
    auto rate = risen.begin();
    for (const Level& level : levels) {
        for (size_t i = 0; i < level.count; ++i) (rate++)->iops = level.mean();
    }
    return risen;
}

Knee knee_of(const std::vector<Rate>& rates) {
    if (rates.size() < 3) return {Shape::kTooFewRatios};
    const std::vector<Rate> risen = without_falls(rates);
    const double rise = risen.back().iops - risen.front().iops;
    if (rise < kSmallestRise * risen.front().iops) return {Shape::kFlat};
    const auto distance = [&](const Rate& rate) { return rate.iops - line_at(risen, rate.op); };
    const Rate& knee =
        *std::max_element(risen.begin(), risen.end(),
                          [&](const Rate& a, const Rate& b) { return distance(a) < distance(b); });
    if (distance(knee) < std::max(kSmallestDistance * rise, kSmallestExcess * knee.iops))
        return {Shape::kStraight};
    return {Shape::kKnee, knee.op, gain_of_a_percent(risen.front(), knee),
            gain_of_a_percent(knee, risen.back())};
}

}  // namespace cli
