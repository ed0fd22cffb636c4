/// Database room: the one SQLite file that holds all evaluations. It decides where the file lies,
/// creates it, moves it between schema versions, and creates, changes and reads records. It may use
/// the base room and the platform. Every use of the file happens under the lock `kDatabaseLock` and
/// on a connection of its own, and what a process leaves that dies, at whatever point, the next use
/// settles: it finds a database that opens, or none.
///
/// A function that stands for an exported one is one access to the file. It carries that one's name
/// in its messages, whoever calls, and does not throw: an access for which memory is short has
/// failed like one that found no database.
#pragma once

#include <string>
#include <type_traits>

#include "base/boundary.h"
#include "base/file_lock.h"
#include "db/session.h"

namespace ssd_op::db {

constexpr const char* kDatabaseLock = "kova_ssd_op_db";

/// Opens the database, creating it when there is none or an empty file. The caller holds the
/// database's lock. Nothing is open when no place is found or the file cannot be made or opened.
///
/// A new database is made under a name of its own and then given its real one: it is there with all
/// its tables, or not at all. When its creation fails nothing is left, so the next open tries
/// again.
Session open_database(const char* function);

/// How every database function works: `inside(session)` with the database locked against every
/// other process, then open. A process that holds it may do so a second time. What `inside`
/// returned, or an empty result (false, nothing) when the database cannot be opened or memory is
/// short.
template <typename Inside>
auto with_session(base::Caller caller, Inside&& inside) noexcept {
    using Result = std::invoke_result_t<Inside, Session&>;
    return base::guarded(caller, Result(), [&]() -> Result {
        const base::FileLock lock = base::FileLock::for_writing(kDatabaseLock);
        Session session = open_database(caller.function);
        if (session) return inside(session);
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to open database.\n", caller.function);
        return Result();
    });
}

/// Deletes a database file and the journal that belongs to it, which must not be played back into
/// the file that comes next. Whether the database is gone.
bool remove_database_file(const std::string& path);

}  // namespace ssd_op::db
