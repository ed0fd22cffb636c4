#pragma once

#include <optional>
#include <string>

namespace ssd_op::db {

/// Finds the database, or the place for a new one, as `locate` does, but under the database's lock
/// and after settling what a move left that was not brought to an end. Nothing when that cannot be
/// settled (yet), or the directory cannot be made.
std::optional<std::string> find_settled();

// What the exported functions of these names do. Places are SSD_OP_DB_LOCATION_..., results those
// of the commands, -1 for what is refused.

/// What df says, in KiB.
struct Usage {
    unsigned long long used = 0;
    unsigned long long available = 0;
};
int read_usage(int location, Usage& usage);

/// SSD_OP_DB_Get_Location; `path` may be null.
int locate(int& location, std::string* path) noexcept;
/// SSD_OP_DB_Get_Size.
int read_size(unsigned long long& size_kb) noexcept;
/// SSD_OP_DB_Set_Location.
int set_location(int location) noexcept;

}  // namespace ssd_op::db
