#pragma once

#include <array>

namespace appliance::addon {

/// IOPS of five consecutive rounds, the oldest first.
using Window = std::array<double, 5>;

/// The steady-state rule of SNIA's performance test for solid-state storage: over the window the
/// largest and the smallest value lie at most 20 % of the mean apart, and the least-squares line
/// through the values rises or falls by at most 10 % of the mean from the first to the last. A
/// mean that is not above zero, or a value that is not finite, is not steady.
bool is_steady(const Window& iops);

}  // namespace appliance::addon
