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

constexpr const char* kOpen = "ssd_op_db_open";
constexpr const char* kCreate = "ssd_op_db_create";

bool is_filled_file(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && status.st_size > 0;
}

bool set_up(Session& session) {
    const bool has_page_size = session.execute("PRAGMA page_size = 2048;");
    return session.execute("PRAGMA foreign_keys = ON;") && has_page_size;
}

bool create_tables(Session& session) {
    Transaction transaction(session);
    for (const char* statement :
         {kCreateSsdDev, kCreateTestRecord, kCreateRaidGroup, kCreateSelectDev, kCreateTestData,
          kCreateRuntimeReport, kCreateDbVersion, kCreateSsdRuntimeData})
        transaction.require(statement);
    transaction.require(sql(kInsertVersion, kCurrentVersion));
    transaction.require(sql(kCreateTrigger, kDefaultRecordLimit, kDefaultRecordLimit));
    return transaction.commit();
}

/// Makes a complete database in `scratch`; messages name the path that it is for.
bool create_in(const std::string& scratch, const std::string& path) {
    Session session(kCreate, scratch);
    if (session && set_up(session)) return create_tables(session);
    SM_TRACE(SM_TRACE_ERROR, session ? "%s: Fail to setup db(%s)\n" : "%s: Fail to open db(%s)\n",
             kCreate, path.c_str());
    return false;
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
    explicit Scratch(const std::string& path) : file_(path + ".new"), journal_(file_ + "-journal") {
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

bool create_database(const std::string& path) {
    const base::FileLock lock = base::FileLock::for_writing(kDatabaseLock);
    const Scratch scratch(path);
    return create_in(scratch.file(), path) && put_in_place(scratch.file(), path);
}

}  // namespace

Session open_database(const char* function) {
    const std::optional<std::string> path = find_settled();
    if (!path) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to get database name.\n", kOpen);
        return Session(function);
    }
    if (!is_filled_file(*path)) {
        SM_TRACE(SM_TRACE_ERROR, "%s: database(%s) is not exist.\n", kOpen, path->c_str());
        remove_database_file(*path);
        if (!create_database(*path)) {
            SM_TRACE(SM_TRACE_ERROR, "%s: Fail to create database(%s).\n", kCreate, path->c_str());
            return Session(function);
        }
    }
    return Session(function, *path);
}

bool remove_database_file(const std::string& path) {
    const bool removed = ::unlink(path.c_str()) == 0 || errno == ENOENT;
    ::unlink((path + "-journal").c_str());
    return removed;
}

}  // namespace ssd_op::db
