#pragma once

#include "output/terminal.h"
#include "start/plan.h"

namespace cli {

/// What an evaluation would do, to which drives, what it costs in capacity and how long it takes.
std::string plan_text(const Plan& plan);
/// "records 3, 4", that the record limit drops.
std::string dropped_text(const Plan& plan);
Json plan_json(const Plan& plan);

}  // namespace cli
