#pragma once

#include <cstdint>

namespace ssd_op::shared {

/// How many ratios lie from the first to the last; 1 when the step leads nowhere (0). Can be below
/// 1 for a range that no evaluation was started with. Computed wide: a damaged record may hold any
/// numbers.
constexpr int64_t ratio_count(int min_op, int max_op, int interval) {
    if (min_op == max_op) return 1;
    const int64_t span = static_cast<int64_t>(max_op) - min_op;
    return (interval == 0 ? 0 : span / interval) + 1;
}

}  // namespace ssd_op::shared
