#pragma once

#include "start/estimate.h"

namespace cli {

/// Asks the records for the newest evaluation of such drives, and the platform for its figures.
Knowledge knowledge_of(const Plan& plan);

}  // namespace cli
