#include "db/database.h"

#include <cerrno>
#include <cstdio>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/owners.h"
#include "db/location.h"
#include "db/schema.h"
#include "db/transaction.h"

namespace ssd_op::db {

namespace {

constexpr int kBusyTimeoutMs = 20000;

/// As sqlite3_open does it, save that the connection has no mutex of its own: it never leaves the
/// function that opened it, and taking one for each column read costs as much as the reading.
int open_connection(const char* path, sqlite3** db) {
    constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    const int result = sqlite3_open_v2(path, db, kFlags, nullptr);
    // A process that is killed gives up the library's lock before SQLite's: its files are closed in
    // the order in which they were opened.
    if (result == SQLITE_OK) sqlite3_busy_timeout(*db, kBusyTimeoutMs);
    return result;
}

bool is_filled_file(const char* path) {
    struct stat status {};
    return ::stat(path, &status) == 0 && status.st_size > 0;
}

bool set_up_connection(sqlite3* db) {
    const int page_size = execute(db, "PRAGMA page_size = 2048;");
    const int foreign_keys = execute(db, "PRAGMA foreign_keys = ON;");
    return (page_size | foreign_keys) == SQLITE_OK;
}

bool create_tables(sqlite3* db) {
    Transaction transaction(db);
    for (const char* statement :
         {kCreateSsdDev, kCreateTestRecord, kCreateRaidGroup, kCreateSelectDev, kCreateTestData,
          kCreateRuntimeReport, kCreateDbVersion, kCreateSsdRuntimeData})
        transaction.require(statement);
    transaction.require(sql(kInsertVersion, kCurrentVersion));
    transaction.require(sql(kCreateTrigger, kDefaultRecordLimit, kDefaultRecordLimit));
    return transaction.commit() == SQLITE_OK;
}

/// Makes a complete database in `scratch`; messages name the path that it is for.
bool create_in(const std::string& scratch, const char* path) {
    constexpr const char* kFunction = "ssd_op_db_create";
    sqlite3* db = nullptr;
    const int opened = open_connection(scratch.c_str(), &db);
    const Connection connection(db);
    if (opened != SQLITE_OK) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to open db(%s)\n", kFunction, path);
        return false;
    }
    if (!set_up_connection(db)) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to setup db(%s)\n", kFunction, path);
        return false;
    }
    return create_tables(db);
}

/// Gives a finished file its name, for good: also after a loss of power.
bool put_in_place(const std::string& scratch, const std::string& path) {
    if (std::rename(scratch.c_str(), path.c_str()) != 0) return false;
    const base::Descriptor folder(
        ::open(path.substr(0, path.rfind('/') + 1).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder) ::fsync(folder.get());
    return true;
}

/// A database in the making. Its names are made before anything else, so that it goes also when
/// there is no memory left.
class Scratch {
  public:
    explicit Scratch(const char* path)
        : file_(std::string(path) + ".new"), journal_(file_ + "-journal") {
        remove();
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    ~Scratch() { remove(); }
    const std::string& file() const { return file_; }

  private:
    void remove() const {
        ::unlink(file_.c_str());
        ::unlink(journal_.c_str());
    }

    std::string file_;
    std::string journal_;
};

bool create_database(const char* path) {
    const base::FileLock lock = base::FileLock::for_writing(kDatabaseLock);
    const Scratch scratch(path);
    return create_in(scratch.file(), path) && put_in_place(scratch.file(), path);
}

}  // namespace

bool remove_database_file(const char* path) {
    const bool removed = ::unlink(path) == 0 || errno == ENOENT;
    ::unlink((std::string(path) + "-journal").c_str());
    return removed;
}

}  // namespace ssd_op::db

int ssd_op_db_open(sqlite3** db) {
    using namespace ssd_op::db;
    *db = nullptr;
    std::string place;
    if (find_settled(place) != 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to get database name.\n", __func__);
        return -1;
    }
    const char* path = place.c_str();
    if (!is_filled_file(path)) {
        SM_TRACE(SM_TRACE_ERROR, "%s: database(%s) is not exist.\n", __func__, path);
        remove_database_file(path);
        if (!create_database(path)) {
            SM_TRACE(SM_TRACE_ERROR, "%s: Fail to create database(%s).\n", "ssd_op_db_create",
                     path);
            return -1;
        }
    }
    const int result = open_connection(path, db);
    if (result != SQLITE_OK) {
        sqlite3_close(*db);
        *db = nullptr;
    }
    return result;
}
