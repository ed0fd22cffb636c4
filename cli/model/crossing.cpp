#include "model/crossing.h"

#include <algorithm>
#include <set>

namespace cli {

namespace {

/// @param op between the first and the last ratio
double rate_at(const std::vector<Rate>& rates, int op) {
    const auto above =
        std::find_if(rates.begin(), rates.end(), [op](const Rate& rate) { return rate.op >= op; });
    if (above->op == op) return above->iops;
    const auto below = above - 1;
    const double part = static_cast<double>(op - below->op) / (above->op - below->op);
    return below->iops + part * (above->iops - below->iops);
}

/// How much faster the second curve is than the first at a ratio.
struct Difference {
    int op;
    double iops;

    int faster() const { return iops > 0 ? 2 : iops < 0 ? 1 : 0; }
};

std::vector<int> measured_between(int first_op, int last_op, const std::vector<Rate>& first,
                                  const std::vector<Rate>& second) {
    std::set<int> ops;
    for (const auto* rates : {&first, &second}) {
        for (const Rate& rate : *rates) {
            if (rate.op >= first_op && rate.op <= last_op) ops.insert(rate.op);
        }
    }
    return {ops.begin(), ops.end()};
}

/// Between two ratios at which different curves are faster.
Meeting crossing_between(const Difference& below, const Difference& above) {
    const double part = below.iops / (below.iops - above.iops);
    const double at = below.op + part * (above.op - below.op);
    return {at, at, below.op, above.op, below.faster(), above.faster()};
}

std::vector<Meeting> meetings_of(const std::vector<Difference>& differences) {
    std::vector<Meeting> meetings;
    const Difference* before = nullptr;  // the last one that is not 0
    for (auto it = differences.begin(); it != differences.end(); ++it) {
        if (it->faster() == 0) {
            const auto end = std::find_if(it, differences.end(), [](const Difference& difference) {
                return difference.faster() != 0;
            });
            const int to = (end - 1)->op;
            meetings.push_back({double(it->op), double(to), it->op, to,
                                before != nullptr ? before->faster() : 0,
                                end != differences.end() ? end->faster() : 0});
            before = nullptr;  // what follows begins anew
            it = end - 1;
            continue;
        }
        if (before != nullptr && before->faster() != it->faster())
            meetings.push_back(crossing_between(*before, *it));
        before = &*it;
    }
    return meetings;
}

}  // namespace

std::optional<CurvePair> pair_of(const std::vector<Rate>& first, const std::vector<Rate>& second) {
    const int first_op = std::max(first.front().op, second.front().op);
    const int last_op = std::min(first.back().op, second.back().op);
    const std::vector<int> ops = measured_between(first_op, last_op, first, second);
    if (ops.empty()) return std::nullopt;
    CurvePair pair{first_op, last_op, {}, 1e300, -1e300};
    std::vector<Difference> differences;
    for (const int op : ops) {
        const double of_first = rate_at(first, op);
        differences.push_back({op, rate_at(second, op) - of_first});
        pair.least = std::min(pair.least, differences.back().iops / of_first);
        pair.most = std::max(pair.most, differences.back().iops / of_first);
    }
    pair.meetings = meetings_of(differences);
    return pair;
}

}  // namespace cli
