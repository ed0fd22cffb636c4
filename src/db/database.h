/// Database room: the one SQLite file that holds all evaluations. It decides where the file lies,
/// creates it, moves it between schema versions, and creates, changes and reads records. It may use
/// the base room and the platform. Every use of the file happens under the lock `kDatabaseLock` and
/// on a connection of its own, and no process that dies, at whatever point, leaves a file that does
/// not open.
#pragma once

#include <sqlite3.h>

#include "base/boundary.h"
#include "base/file_lock.h"
#include "db/sql.h"
#include "ssd_op.h"

extern "C" {

/**
 * Opens the database, creating it when there is none or an empty file. The caller holds the
 * database lock, and closes *db with sqlite3_close.
 *
 * A new database is made under a name of its own and then given its real one: it is there with all
 * its tables, or not at all. When its creation fails nothing is left, so the next open tries again.
 *
 * @return 0; -1 when no place is found or the creation failed; else what SQLite says of opening it,
 *         with *db null
 */
int ssd_op_db_open(sqlite3** db);

/// The version that the database holds, 0 when it holds none; -1 when it cannot be read.
int ssd_op_db_query_version(void);
/// Stores a version. 0 or -1.
int ssd_op_db_update_version(int version);

/// Stores a new record with its groups and drives on an open database. 0 or -1.
int ssd_op_db_insert_simple(sqlite3* db, ssd_op_db_record* record);
}

namespace ssd_op::db {

constexpr const char* kDatabaseLock = "kova_ssd_op_db";

/// The database, held: locked against every other process, then opened. Released in reverse. A
/// process that holds a session may open a second one.
class Session {
  public:
    Session() {
        sqlite3* db = nullptr;
        if (ssd_op_db_open(&db) == 0) connection_.reset(db);
    }
    explicit operator bool() const { return connection_ != nullptr; }
    sqlite3* connection() const { return connection_.get(); }

  private:
    base::FileLock lock_ = base::FileLock::for_writing(kDatabaseLock);  // first: unlocked last
    Connection connection_;
};

/// How every database function works: `inside(connection)` in a session of its own. Its result, or
/// `failure` when the database cannot be opened or memory is short.
template <typename Result, typename Inside>
Result with_session(base::Caller caller, Result failure, Inside&& inside) noexcept {
    return base::guarded(caller, failure, [&] {
        const Session session;
        if (session) return inside(session.connection());
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to open database.\n", caller.function);
        return failure;
    });
}

/// Deletes a database file and the journal that belongs to it, which must not be played back into
/// the file that comes next. Whether the database is gone.
bool remove_database_file(const char* path);

}  // namespace ssd_op::db
