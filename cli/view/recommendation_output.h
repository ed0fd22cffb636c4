#pragma once

#include <string>

#include "model/assessment.h"

namespace cli {

/// The recommendation and what it rests on.
std::string recommendation_text(const Assessment& assessment);

/// Why no ratio is recommended.
std::string refusal_text(const Recommendation& recommendation);

}  // namespace cli
