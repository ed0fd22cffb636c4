#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace cli {

/// Where the database lies.
struct Place {
    int location;  // SSD_OP_DB_LOCATION_...
    std::string path;
    uint64_t size_kib;
};

/// True when there is a database. Asking for records would create it.
bool has_database();

/// @throws Failure when there is none
Place find_database();

/// Rows of a table that belong to a row that is gone.
struct Dangling {
    std::string table;
    std::string parent;  // table that had the row
    int64_t rows;

    /// The record limit drops a record alone, and a change of the limit leaves temperatures: such
    /// rows take up room and do no harm.
    bool is_left_by_limit() const;
};

constexpr int kCurrentVersion = 6;
constexpr int kNoVersion = -1;  // the database does not say

/// What an examination of the database found.
struct DatabaseCheck {
    int version;                       // of its schema, or kNoVersion
    std::vector<std::string> damages;  // of the file, as SQLite words them
    std::vector<Dangling> dangling;

    bool is_sound() const;
};

// The one place where ssd-op opens the database itself, for reading only: the library has no call
// that would tell. Both throw a Failure when there is none, or it cannot be opened.

/// The version of the schema alone, or kNoVersion.
int database_version();

/// Examines the database while no other process changes it.
DatabaseCheck check_database();

}  // namespace cli
