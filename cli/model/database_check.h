#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace cli {

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

/// The version of the schema alone, or kNoVersion.
/// @throws Failure when the database cannot be opened
int database_version(const std::string& path);

/// Examines the database while no other process changes it. This is the one place where ssd-op
/// opens the database itself, for reading only: the library has no call that would tell.
/// @throws Failure when it cannot be opened
DatabaseCheck check_database(const std::string& path);

}  // namespace cli
