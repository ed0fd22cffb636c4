#include "model/database.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <functional>
#include <memory>

#include <fmt/format.h>
#include <sqlite3.h>

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

struct Close {
    void operator()(sqlite3* connection) const { sqlite3_close(connection); }
};
struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Connection = std::unique_ptr<sqlite3, Close>;

Connection open_for_reading(const std::string& path) {
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READONLY, nullptr);
    Connection connection(opened);
    if (result != SQLITE_OK)
        throw Failure(kFailed, fmt::format("{} cannot be opened.", path), sqlite3_errstr(result));
    return connection;
}

/// Calls `take` with each row. What goes wrong is a damage.
void query(sqlite3* connection, const char* sql, std::vector<std::string>& damages,
           const std::function<void(sqlite3_stmt*)>& take) {
    sqlite3_stmt* prepared = nullptr;
    int result = sqlite3_prepare_v2(connection, sql, -1, &prepared, nullptr);
    const std::unique_ptr<sqlite3_stmt, Finalize> statement(prepared);
    if (result == SQLITE_OK) {
        while ((result = sqlite3_step(prepared)) == SQLITE_ROW) take(prepared);
    }
    if (result != SQLITE_DONE) damages.emplace_back(sqlite3_errmsg(connection));
}

std::string text(sqlite3_stmt* row, int column) {
    const unsigned char* value = sqlite3_column_text(row, column);
    return value == nullptr ? "" : reinterpret_cast<const char*>(value);
}

void query_version(sqlite3* connection, std::vector<std::string>& damages, int& version) {
    query(connection, "SELECT version FROM DB_VERSION", damages,
          [&](sqlite3_stmt* row) { version = sqlite3_column_int(row, 0); });
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
    query_version(open_for_reading(path).get(), ignored, version);
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
    const Connection connection = open_for_reading(path);
    DatabaseCheck check{};
    check.version = kNoVersion;
    query(connection.get(), "PRAGMA integrity_check", check.damages, [&](sqlite3_stmt* row) {
        if (text(row, 0) != "ok") check.damages.push_back(text(row, 0));
    });
    query_version(connection.get(), check.damages, check.version);
    query(connection.get(),
          "SELECT \"table\", parent, count(*) FROM pragma_foreign_key_check GROUP BY 1, 2",
          check.damages, [&](sqlite3_stmt* row) {
              check.dangling.push_back({text(row, 0), text(row, 1), sqlite3_column_int64(row, 2)});
          });
    return check;
}

}  // namespace cli
