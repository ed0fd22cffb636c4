#pragma once

#include <functional>

#include "start/estimate.h"

namespace cli {

/// Bytes a second that are written to the volume of a plan.
struct VolumeSpeed {
    double sequential;
    std::function<double(int op)> random;  // 4 KiB each, in the steady state
};

/// Of the fastest and the slowest drives of a kind that are sold.
VolumeSpeed fastest_speed(const Plan& plan);
VolumeSpeed slowest_speed(const Plan& plan);

/// Of these drives by what is known of them, and for what is not, of drives with three bits a cell
/// and as many dies as such a capacity usually has.
VolumeSpeed usual_speed(const Plan& plan, const Knowledge& knowledge);

}  // namespace cli
