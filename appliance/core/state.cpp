#include "core/state.h"

#include <memory>
#include <string>
#include <vector>

#include <pthread.h>
#include <sqlite3.h>
#include <unistd.h>

#include "core/schema.h"

namespace appliance {

namespace {

/// A faster clock also makes SQLite's waits end sooner; an hour of it is still long enough.
constexpr int kBusyTimeoutMs = 3'600'000;

void bring_up_to_date(SQLite::Database& database) {
    if (database.execAndGet("PRAGMA user_version").getInt() == kSchemaVersion) return;
    database.exec(kSchema);
    database.exec("PRAGMA user_version = " + std::to_string(kSchemaVersion));
}

std::unique_ptr<SQLite::Database> open_state() {
    auto database = std::make_unique<SQLite::Database>(
        kStateFile, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE, kBusyTimeoutMs);
    // The state must survive a killed process, not a power cut of the machine.
    database->exec("PRAGMA journal_mode = WAL");
    database->exec("PRAGMA synchronous = OFF");
    bring_up_to_date(*database);
    return database;
}

/// The connection of the process that opened it. A child must not inherit one: SQLite would take
/// the parent's file locks for the child's own, and the parent, finding none when it closes, would
/// remove the log that the child writes to. So it is closed before a fork, and each side opens its
/// own when it needs one. Where a statement is under way, the child sets what it inherited aside,
/// for good.
struct Connection {
    std::unique_ptr<SQLite::Database> database;
    pid_t owner = 0;

    ~Connection() { drop_inherited(); }

    void drop_inherited() {
        static auto& aside = *new std::vector<SQLite::Database*>;
        if (database && owner != ::getpid()) aside.push_back(database.release());
    }

    void close_if_idle() {
        drop_inherited();
        if (!database) return;
        sqlite3* const handle = database->getHandle();
        const bool idle =
            sqlite3_get_autocommit(handle) != 0 && sqlite3_next_stmt(handle, nullptr) == nullptr;
        if (idle) database.reset();
    }
};

Connection& connection() {
    static Connection the_connection;
    return the_connection;
}

}  // namespace

SQLite::Database& state() {
    static const int watched =
        ::pthread_atfork([] { connection().close_if_idle(); }, nullptr, nullptr);
    static_cast<void>(watched);
    Connection& mine = connection();
    mine.drop_inherited();
    if (!mine.database) {
        mine.database = open_state();
        mine.owner = ::getpid();
    }
    return *mine.database;
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
