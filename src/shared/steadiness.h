#pragma once

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>
#include <span>

namespace ssd_op::shared {

/// How still the rates of five rounds stood, by the steady-state rule of SNIA's performance test
/// for solid-state storage, which ends the measurement of a ratio.
struct Steadiness {
    double excursion;  // from the smallest to the largest, as a share of their mean
    double slope;      // of the least-squares line over the five; below 0: the rates fall

    bool is_steady() const {
        constexpr double kRounding = 1e-9;  // a figure on the limit is within it
        return excursion <= 0.2 + kRounding && std::abs(slope) <= 0.1 + kRounding;
    }
};

/// None when their mean is not above 0, or a rate is no finite number.
/// @param rates the oldest first
inline std::optional<Steadiness> steadiness_of(std::span<const double, 5> rates) {
    const double mean = std::accumulate(rates.begin(), rates.end(), 0.0) / 5;
    if (!std::isfinite(mean) || mean <= 0) return std::nullopt;
    const auto [smallest, largest] = std::minmax_element(rates.begin(), rates.end());
    const double slope_of_a_round = (2 * (rates[4] - rates[0]) + rates[3] - rates[1]) / 10;
    return Steadiness{(*largest - *smallest) / mean, 4 * slope_of_a_round / mean};
}

inline bool is_steady(std::span<const double, 5> rates) {
    const auto found = steadiness_of(rates);
    return found && found->is_steady();
}

}  // namespace ssd_op::shared
