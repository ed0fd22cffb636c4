#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace ssd_op::runtime {

/// Towards zero. Figures come from files that others write: one that is too large gives the nearest
/// number that there is, and what is no number at all gives 0.
template <typename Integer, typename Real>
Integer truncate(Real value) {
    using Limits = std::numeric_limits<Integer>;
    if (std::isnan(value)) return 0;
    if (value <= static_cast<Real>(Limits::min())) return Limits::min();
    if (value >= static_cast<Real>(Limits::max())) return Limits::max();
    return static_cast<Integer>(value);
}

inline int to_int(int64_t value) {
    using Limits = std::numeric_limits<int>;
    return static_cast<int>(std::clamp<int64_t>(value, Limits::min(), Limits::max()));
}

}  // namespace ssd_op::runtime
