#pragma once

#include "model/record.h"
#include "output/terminal.h"

namespace cli {

/// Rates and temperatures over time, of each ratio that has any.
/// @param record its drives' samples are replaced
/// @throws Failure when samples cannot be read
Json sample_data(ssd_op_db_record& record);

}  // namespace cli
