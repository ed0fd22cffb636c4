#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "drives/health.h"

namespace host {

/// Each ratio begins with writing what it leaves of the drive this often.
constexpr int kPreconditioningPasses = 2;

/// The ratios of an evaluation that nothing else is said about.
constexpr int kUsualRatios[] = {0, 10, 20, 30, 40};

/// What an evaluation writes to one drive at the least: the preconditioning of its ratios, in
/// percent. The measurements come on top, and last until the rates hold still.
uint64_t least_writes(uint64_t drive_bytes, std::span<const int> ratios);

/// What the drive may be written in its life, if it goes on to wear as it did; none for a drive
/// that does not tell, or is so new that it tells nothing yet.
std::optional<double> rated_writes(const Health& health);

}  // namespace host
