#pragma once

#include <string>

#include "output/plot.h"
#include "ssd_op.h"

namespace cli {

/// The record's IOPS over OP, and over time, as diagrams.
/// @throws Failure when the samples cannot be read
std::string record_plots(const ssd_op_db_record& record, Charset charset);

}  // namespace cli
