#include "support/faulty_files.h"

#include <cstring>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

namespace support {

namespace {

enum class Call { kOpen, kRead, kWrite, kTruncate, kSync, kDelete };

constexpr const char* kNames[] = {"open", "read", "write", "truncate", "sync", "delete"};

/// What SQLite's own file layer makes of an error.
int result_of(Call call, FileError error) {
    switch (call) {
        case Call::kOpen:
            return SQLITE_CANTOPEN;
        case Call::kRead:
            return SQLITE_IOERR_READ;
        case Call::kWrite:
            return error == FileError::kNoRoom ? SQLITE_FULL : SQLITE_IOERR_WRITE;
        case Call::kTruncate:
            return SQLITE_IOERR_TRUNCATE;
        case Call::kSync:
            return SQLITE_IOERR_FSYNC;
        case Call::kDelete:
            return SQLITE_IOERR_DELETE;
    }
    return SQLITE_IOERR;
}

bool can_happen(Call call, FileError error) {
    return error == FileError::kBroken || (call != Call::kRead && call != Call::kDelete);
}

/// SQLite calls plain functions, so what they go by is the process's.
struct Plan {
    std::string in_path;
    int failing = 0;  // the n-th; 0: none
    FileError error = FileError::kBroken;
    FileFault lasting = FileFault::kOnce;
    int calls = 0;
    std::string failed;

    bool concerns(const char* path) const {
        return std::string_view(path == nullptr ? "" : path).find(in_path) !=
               std::string_view::npos;
    }

    int next(Call call, const char* path) {
        if (failing == 0 || !can_happen(call, error) || !concerns(path)) return SQLITE_OK;
        ++calls;
        const bool fails =
            calls == failing || (calls > failing && lasting == FileFault::kFromThenOn);
        if (!fails) return SQLITE_OK;
        if (failed.empty()) failed = kNames[static_cast<int>(call)] + (" of " + std::string(path));
        return result_of(call, error);
    }
};
Plan plan;
sqlite3_vfs* real = nullptr;

/// The real file follows in the same block, as many bytes as it says it needs.
struct File {
    sqlite3_file base;
    const char* path;  // SQLite keeps it while the file is open
    sqlite3_file* under() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};
File& file_of(sqlite3_file* file) { return *reinterpret_cast<File*>(file); }

/// One of the real file's functions, called as it is.
template <auto Method, typename... Values>
int pass(sqlite3_file* file, Values... values) {
    sqlite3_file* under = file_of(file).under();
    return (under->pMethods->*Method)(under, values...);
}

/// The same, unless it is its turn to fail.
template <auto Method, Call kCall, typename... Values>
int pass_or_fail(sqlite3_file* file, Values... values) {
    const int result = plan.next(kCall, file_of(file).path);
    return result == SQLITE_OK ? pass<Method>(file, values...) : result;
}

/// A failed read fills the rest of the buffer, as SQLite expects of its file layer.
int read(sqlite3_file* file, void* buffer, int size, sqlite3_int64 offset) {
    const int result =
        pass_or_fail<&sqlite3_io_methods::xRead, Call::kRead>(file, buffer, size, offset);
    if (result == SQLITE_IOERR_READ) std::memset(buffer, 0, static_cast<size_t>(size));
    return result;
}

using Io = sqlite3_io_methods;
constexpr Io kMethods = {1,
                         [](sqlite3_file* file) { return pass<&Io::xClose>(file); },
                         read,
                         pass_or_fail<&Io::xWrite, Call::kWrite, const void*, int, sqlite3_int64>,
                         pass_or_fail<&Io::xTruncate, Call::kTruncate, sqlite3_int64>,
                         pass_or_fail<&Io::xSync, Call::kSync, int>,
                         pass<&Io::xFileSize, sqlite3_int64*>,
                         pass<&Io::xLock, int>,
                         pass<&Io::xUnlock, int>,
                         pass<&Io::xCheckReservedLock, int*>,
                         pass<&Io::xFileControl, int, void*>,
                         [](sqlite3_file* file) { return pass<&Io::xSectorSize>(file); },
                         [](sqlite3_file* file) { return pass<&Io::xDeviceCharacteristics>(file); },
                         nullptr,
                         nullptr,
                         nullptr,
                         nullptr,
                         nullptr,
                         nullptr};

int open(sqlite3_vfs*, const char* path, sqlite3_file* file, int flags, int* opened_with) {
    // The appliance's own files need more of the real layer than is passed on here.
    if (!plan.concerns(path)) return real->xOpen(real, path, file, flags, opened_with);
    file->pMethods = nullptr;
    const int failure = plan.next(Call::kOpen, path);
    if (failure != SQLITE_OK) return failure;
    file_of(file).path = path;
    sqlite3_file* under = file_of(file).under();
    const int result = real->xOpen(real, path, under, flags, opened_with);
    if (under->pMethods != nullptr) file->pMethods = &kMethods;
    return result;
}

int remove(sqlite3_vfs*, const char* path, int sync_directory) {
    const int result = plan.next(Call::kDelete, path);
    return result == SQLITE_OK ? real->xDelete(real, path, sync_directory) : result;
}

/// The real file layer but for files; its functions find what they need in the copy.
sqlite3_vfs& layer() {
    static sqlite3_vfs copy = [] {
        sqlite3_vfs made = *real;
        made.zName = "faulty files";
        made.szOsFile = static_cast<int>(sizeof(File)) + real->szOsFile;
        made.xOpen = open;
        made.xDelete = remove;
        return made;
    }();
    return copy;
}

}  // namespace

FaultyFiles::FaultyFiles(std::string in_path) {
    if (real == nullptr) real = sqlite3_vfs_find(nullptr);
    plan = {};
    plan.in_path = std::move(in_path);
    if (sqlite3_vfs_register(&layer(), 1) != SQLITE_OK)
        throw std::runtime_error("SQLite takes no file layer");
}

FaultyFiles::~FaultyFiles() { sqlite3_vfs_register(real, 1); }  // files of before may be open yet

void FaultyFiles::fail(int n, FileError error, FileFault lasting) {
    heal();
    plan.failing = n;
    plan.error = error;
    plan.lasting = lasting;
    plan.calls = 0;
    plan.failed.clear();
}

void FaultyFiles::heal() { plan.failing = 0; }

const std::string& FaultyFiles::failed() const { return plan.failed; }

int fail_at_every_file_call(const FileFaultLoop& loop) {
    FaultyFiles files(loop.in_path);
    int met = 0;
    for (const FileError error : {FileError::kNoRoom, FileError::kBroken}) {
        for (const FileFault lasting : {FileFault::kOnce, FileFault::kFromThenOn}) {
            for (int n = 1;; ++n) {
                loop.before();
                files.fail(n, error, lasting);
                loop.body();
                files.heal();
                if (files.failed().empty()) break;
                SCOPED_TRACE(files.failed() + " failed with " +
                             (error == FileError::kNoRoom ? "ENOSPC" : "EIO") +
                             (lasting == FileFault::kOnce ? "" : ", as did all after it"));
                ++met;
                loop.after();
            }
        }
    }
    return met;
}

}  // namespace support
