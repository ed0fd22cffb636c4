#pragma once

#include <string>

#include "model/assessment.h"
#include "output/table.h"

namespace cli {

/// The fit beside what was measured, or why it is not used.
std::string fit_text(const Assessment& assessment);

/// Its first lines, and what follows them where it is used.
std::string fit_heading(const Assessment& assessment);
Table fit_table(const Assessment& assessment);

}  // namespace cli
