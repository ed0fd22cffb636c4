#include "model/database.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include <SQLiteCpp/SQLiteCpp.h>
#include <fmt/format.h>

#include "output/failure.h"
#include "platform/ini.h"
#include "ssd_op.h"

namespace cli {

namespace {

/// The lock that every call of the library holds while it uses the database.
class DatabaseLock {
  public:
    DatabaseLock() : handle_(Ini_Conf_Write_Lock_File("kova_ssd_op_db")) {
        if (handle_ < 0)
            throw Failure(kFailed, "The database's lock cannot be had.",
                          "Try again; the appliance's trace log tells more.");
    }
    DatabaseLock(const DatabaseLock&) = delete;
    DatabaseLock& operator=(const DatabaseLock&) = delete;
    ~DatabaseLock() { Ini_Conf_Unlock_File(handle_); }

  private:
    int handle_;
};

SQLite::Database open_for_reading(const std::string& path) {
    try {
        return SQLite::Database(path, SQLite::OPEN_READONLY);
    } catch (const SQLite::Exception& error) {
        throw Failure(kFailed, fmt::format("{} cannot be opened.", path), error.getErrorStr());
    }
}

/// Calls `take` with each row. What goes wrong is a damage.
template <typename Take>
void query(const SQLite::Database& database, const char* sql, std::vector<std::string>& damages,
           Take take) {
    try {
        SQLite::Statement row(database, sql);
        while (row.executeStep()) take(row);
    } catch (const SQLite::Exception& error) {
        damages.emplace_back(error.what());
    }
}

void query_version(const SQLite::Database& database, std::vector<std::string>& damages,
                   int& version) {
    query(database, "SELECT version FROM DB_VERSION", damages,
          [&](auto& row) { version = row.getColumn(0); });
}

}  // namespace

bool has_database() {
    int location = SSD_OP_DB_LOCATION_NONE;
    return SSD_OP_DB_Get_Location(&location, nullptr, 0) == 0 &&
           location != SSD_OP_DB_LOCATION_NONE;
}

/// The library makes a directory when it is asked for the path of a database that does not exist
/// yet, so that is asked first.
Place find_database() {
    if (!has_database())
        throw Failure(kNotFound, "There is no database yet.", "ssd-op start makes it.");
    std::array<char, 256> path{};
    int location = SSD_OP_DB_LOCATION_NONE;
    unsigned long long size_kib = 0;
    SSD_OP_DB_Get_Location(&location, path.data(), static_cast<int>(path.size()));
    SSD_OP_DB_Get_Size(&size_kib);
    return {location, path.data(), size_kib};
}

bool Dangling::is_left_by_limit() const {
    return parent == "TEST_RECORD" || (table == "SSD_RUNTIME_DATA" && parent == "SELECT_DEV");
}

bool DatabaseCheck::is_sound() const {
    return damages.empty() && std::all_of(dangling.begin(), dangling.end(),
                                          [](const auto& rows) { return rows.is_left_by_limit(); });
}

int database_version() {
    const std::string path = find_database().path;
    int version = kNoVersion;
    std::vector<std::string> ignored;
    const DatabaseLock lock;
    query_version(open_for_reading(path), ignored, version);
    return version;
}

DatabaseCheck check_database() {
    const std::string path = find_database().path;
    // The library would make a database of it.
    std::error_code ignored;
    if (std::filesystem::file_size(path, ignored) == 0)
        return {kNoVersion, {"the file is empty"}, {}};
    // Undoes what a killed process left half done, which a reader alone cannot.
    SSD_OP_DB_Query_Record_Count();
    const DatabaseLock lock;
    const SQLite::Database database = open_for_reading(path);
    DatabaseCheck check{};
    check.version = kNoVersion;
    query(database, "PRAGMA integrity_check", check.damages, [&](auto& row) {
        const std::string found = row.getColumn(0).getText();
        if (found != "ok") check.damages.push_back(found);
    });
    query_version(database, check.damages, check.version);
    query(database,
          "SELECT \"table\", parent, count(*) FROM pragma_foreign_key_check GROUP BY 1, 2",
          check.damages, [&](auto& row) {
              check.dangling.push_back({row.getColumn(0).getText(), row.getColumn(1).getText(),
                                        row.getColumn(2).getInt64()});
          });
    return check;
}

}  // namespace cli
