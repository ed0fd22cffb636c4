#pragma once

#include <string>

#include "model/assessment.h"

namespace cli {

/// The fit beside what was measured, or why it is not used.
std::string fit_text(const Assessment& assessment);

}  // namespace cli
