#pragma once

#include <optional>
#include <vector>

#include "model/results.h"

namespace cli {

/// Where two curves have the same rate: at a ratio, or from one to another. Which of the two is
/// faster before and after it; 0 stands for neither, where no ratio that both cover follows.
struct Meeting {
    double from;
    double to;
    int below, above;   // ratios measured in either, between which it lies; both the same on one
    int faster_before;  // 1 the first curve, 2 the second
    int faster_after;

    bool is_crossing() const {
        return faster_before != 0 && faster_after != 0 && faster_before != faster_after;
    }
};

/// Two curves over the ratios that both cover. Between its measured ratios a curve is a straight
/// line.
struct CurvePair {
    int first_op, last_op;
    std::vector<Meeting> meetings;
    double least, most;  // how much faster the second is, as a share of the first

    bool is_identical() const { return least == 0 && most == 0; }
};

/// None when there is no ratio that both cover.
/// @param first, second by ascending ratio, at least one each
std::optional<CurvePair> pair_of(const std::vector<Rate>& first, const std::vector<Rate>& second);

}  // namespace cli
