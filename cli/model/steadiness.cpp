#include "model/steadiness.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace cli {

namespace {

constexpr double kLargestExcursion = 0.2;
constexpr double kLargestSlope = 0.1;
constexpr double kRounding = 1e-9;  // a figure on the limit is within it

}  // namespace

bool Steadiness::is_steady() const {
    return excursion <= kLargestExcursion + kRounding &&
           std::abs(slope) <= kLargestSlope + kRounding;
}

std::optional<Steadiness> steadiness_of(const std::vector<double>& rates) {
    if (rates.size() < 5) return std::nullopt;
    const auto last = rates.end() - 5;
    const double mean = std::accumulate(last, rates.end(), 0.0) / 5;
    if (!(mean > 0)) return std::nullopt;
    const auto [smallest, largest] = std::minmax_element(last, rates.end());
    const double slope_of_a_round = (2 * (last[4] - last[0]) + last[3] - last[1]) / 10;
    return Steadiness{(*largest - *smallest) / mean, 4 * slope_of_a_round / mean};
}

const char* steadiness_word(const std::optional<Steadiness>& found) {
    if (!found) return "-";
    return found->is_steady() ? "steady" : "not steady";
}

}  // namespace cli
