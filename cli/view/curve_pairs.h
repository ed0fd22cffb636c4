#pragma once

#include <string>
#include <vector>

#include "model/assessment.h"
#include "output/terminal.h"

namespace cli {

/// Of each two records, which has the faster drives, and where that changes.
std::string curve_pairs_text(const std::vector<Assessment>& assessments);
Json curve_pairs_json(const std::vector<Assessment>& assessments);

}  // namespace cli
