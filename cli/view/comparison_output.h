#pragma once

#include <string>
#include <vector>

#include "model/assessment.h"
#include "output/terminal.h"

namespace cli {

/// Records side by side: what was measured how, the figures of each ratio, where their curves
/// cross.
std::string comparison_text(const std::vector<Assessment>& assessments);
Json comparison_json(const std::vector<Assessment>& assessments);

}  // namespace cli
