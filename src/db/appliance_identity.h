#pragma once

#include "ssd_op.h"

namespace ssd_op::db {

/// Fills the record's nas_ fields with what the platform says of the appliance now; "--" stands for
/// what it cannot say. Messages carry `function`.
///
/// Memory slots are named in nas_mem_info in order for as long as a whole entry fits; a slot that
/// cannot be read is left out.
void capture_appliance_identity(const char* function, ssd_op_db_record& record);

}  // namespace ssd_op::db
