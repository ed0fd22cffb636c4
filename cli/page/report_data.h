#pragma once

#include <optional>
#include <vector>

#include "model/recommendation.h"
#include "output/terminal.h"

namespace cli {

/// All that the page shows of the records.
/// @throws Failure when one of them, or the event log, cannot be read
Json report_data(const std::vector<int>& record_nos, const Wish& wish,
                 std::optional<double> endurance_tb);

}  // namespace cli
