#pragma once

namespace ssd_op::db {

/// SSD_OP_DB_Version_Upgrade; nothing to do counts as done.
bool upgrade();
/// SSD_OP_DB_Version_Downgrade.
bool downgrade(int version);

}  // namespace ssd_op::db
