#pragma once

#include "model/assessment.h"
#include "output/terminal.h"

namespace cli {

Json recommendation_json(const Assessment& assessment);

}  // namespace cli
