#pragma once

#include <vector>

#include "ssd_op.h"

namespace cli {

/// The rows of a runtime report that end a slice or a round, in the order of time. Before a round's
/// row the add-on of a host also has one for each second of it, with no more written than the row
/// before. Where nothing tells how much was written, each row ends a step.
std::vector<const ssd_op_db_runtime_report*> step_rows(const ssd_op_db_record& record);

}  // namespace cli
