#pragma once

#include <string>

namespace ssd_op::db {

/// Finds the database, or the place for a new one, as SSD_OP_DB_Get_Location does, but under the
/// database's lock and after settling what a move left that was not brought to an end. 0; -1 when
/// that cannot be settled (yet); else what creating the directory returned.
int find_settled(std::string& path);

}  // namespace ssd_op::db
