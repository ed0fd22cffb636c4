#include "core/state.h"

#include <memory>
#include <vector>

#include <unistd.h>

#include "core/schema.h"

namespace appliance {

namespace {

/// A faster clock also makes SQLite's waits end sooner; an hour of it is still long enough.
constexpr int kBusyTimeoutMs = 3'600'000;

std::unique_ptr<SQLite::Database> open_state() {
    auto database = std::make_unique<SQLite::Database>(
        kStateFile, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE, kBusyTimeoutMs);
    // The state must survive a killed process, not a power cut of the machine.
    database->exec("PRAGMA journal_mode = WAL");
    database->exec("PRAGMA synchronous = OFF");
    if (!database->tableExists("setting")) database->exec(kSchema);
    return database;
}

/// The connection of the process that opened it. On the other side of a fork it must be neither
/// used nor closed: a child sets what it inherited aside, for good.
struct Connection {
    std::unique_ptr<SQLite::Database> database;
    pid_t owner = 0;

    ~Connection() { drop_inherited(); }

    void drop_inherited() {
        static auto& aside = *new std::vector<SQLite::Database*>;
        if (database && owner != ::getpid()) aside.push_back(database.release());
    }
};

}  // namespace

SQLite::Database& state() {
    static Connection connection;
    connection.drop_inherited();
    if (!connection.database) {
        connection.database = open_state();
        connection.owner = ::getpid();
    }
    return *connection.database;
}

std::string setting(const std::string& key, const std::string& fallback) {
    SQLite::Statement query(state(), "SELECT value FROM setting WHERE key = ?");
    query.bind(1, key);
    return query.executeStep() ? query.getColumn(0).getString() : fallback;
}

void set_setting(const std::string& key, const std::string& value) {
    SQLite::Statement statement(state(), "INSERT OR REPLACE INTO setting(key, value) VALUES(?, ?)");
    statement.bind(1, key);
    statement.bind(2, value);
    statement.exec();
}

}  // namespace appliance
