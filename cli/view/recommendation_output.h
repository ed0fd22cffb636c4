#pragma once

#include <string>

#include "model/assessment.h"
#include "output/lines.h"
#include "output/table.h"

namespace cli {

/// The recommendation and what it rests on.
std::string recommendation_text(const Assessment& assessment);

/// Its parts.
Lines recommendation_lines(const Assessment& assessment);
Table measured_table(const Assessment& assessment);
std::string endurance_text(const Assessment& assessment);  // what its last column means, if any

/// Why no ratio is recommended.
std::string refusal_text(const Recommendation& recommendation);

}  // namespace cli
