#pragma once

#include <optional>
#include <vector>

#include "shared/steadiness.h"

namespace cli {

using ssd_op::shared::Steadiness;

/// Of a ratio's last five rounds.
/// @param rates of rounds, the oldest first. None of fewer than five.
std::optional<Steadiness> steadiness_of(const std::vector<double>& rates);

/// "steady", "not steady", or "-" where it cannot be told.
const char* steadiness_word(const std::optional<Steadiness>& found);

}  // namespace cli
