#include "addon/steady_state.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace appliance::addon {

bool is_steady(const Window& iops) {
    if (!std::all_of(iops.begin(), iops.end(), [](double value) { return std::isfinite(value); }))
        return false;
    const double sum = std::accumulate(iops.begin(), iops.end(), 0.0);
    if (!std::isfinite(sum) || sum <= 0) return false;

    const auto [smallest, largest] = std::minmax_element(iops.begin(), iops.end());
    // The line's slope per round is moment / 10; over the window it changes by 4 slopes.
    const double moment = 2 * (iops[4] - iops[0]) + (iops[3] - iops[1]);
    // Both limits are multiplied out, so that whole numbers on a limit compare exactly.
    return 25 * (*largest - *smallest) <= sum && 20 * std::abs(moment) <= sum;
}

}  // namespace appliance::addon
