#pragma once

#include "model/results.h"

namespace cli {

enum class Shape {
    kTooFewRatios,  // a curve takes three
    kFlat,          // rises by less than kSmallestRise
    kStraight,      // no ratio stands out
    kKnee,
};

/// Where a curve of rates bends: the ratio that lies highest above the straight line from the first
/// to the last one, once the curve has been made one that never falls.
struct Knee {
    Shape shape;
    int op = 0;              // these are those of kKnee
    double gain_before = 0;  // IOPS that a percent of the volume brings up to it
    double gain_beyond = 0;  // and from there to the last ratio
};

constexpr double kSmallestRise = 0.05;      // of the first rate
constexpr double kSmallestDistance = 0.05;  // above the line, of the rise
constexpr double kSmallestExcess = 0.03;    // above the line, of the rate there: less may be noise

/// @param rates by ascending ratio
Knee knee_of(const std::vector<Rate>& rates);

/// The curve closest to the rates (least squares) that never falls: more room makes no drive
/// slower, so what falls is noise.
std::vector<Rate> without_falls(const std::vector<Rate>& rates);

}  // namespace cli
