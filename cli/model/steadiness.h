#pragma once

#include <optional>
#include <vector>

namespace cli {

/// How still a ratio's last five rounds stood, by the rule that ends a measurement.
struct Steadiness {
    double excursion;  // from the smallest to the largest, as a share of their mean
    double slope;      // of the least-squares line over the five; below 0: the rates fall

    bool is_steady() const;
};

/// @param rates of rounds, the oldest first. None of fewer than five, or when their mean is 0.
std::optional<Steadiness> steadiness_of(const std::vector<double>& rates);

/// "steady", "not steady", or "-" where it cannot be told.
const char* steadiness_word(const std::optional<Steadiness>& found);

}  // namespace cli
