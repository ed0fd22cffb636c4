/// SQLite's file calls in this process, one of which can be made to fail.
///
///     FaultyFiles files("ssd_op.db");
///     files.fail(7, FileError::kNoRoom, FileFault::kOnce);
///     SSD_OP_DB_Delete_Record(1);
///     files.heal();
#pragma once

#include <functional>
#include <string>

#include <sqlite3.h>

namespace support {

enum class FileError {
    kNoRoom,  ///< ENOSPC: only calls that may need room can fail (open, write, truncate, sync)
    kBroken   ///< EIO: those and reading and deleting
};
enum class FileFault { kOnce, kFromThenOn };

/// While it lives, SQLite reaches its files through it; what is opened later, and in processes that
/// are forked later, counts. One at a time.
class FaultyFiles {
  public:
    /// `in_path`: only files whose path holds this text.
    explicit FaultyFiles(std::string in_path);
    FaultyFiles(const FaultyFiles&) = delete;
    FaultyFiles& operator=(const FaultyFiles&) = delete;
    ~FaultyFiles();

    /// From now on the n-th call (from 1) that `error` can happen to fails.
    void fail(int n, FileError error, FileFault lasting);
    void heal();
    /// What has failed since fail(), for example "sync of /tmp/a.db"; empty: nothing.
    const std::string& failed() const;
};

/// The three parts of a try.
struct FileFaultLoop {
    std::string in_path;
    std::function<void()> before;  ///< makes the scene, each time
    std::function<void()> body;    ///< what must cope
    std::function<void()> after;   ///< looks at it; nothing fails any more
};

/// Lets the body's first file call fail, then its second, and so on, until it meets no fault; with
/// either error, once and from then on. @return how many faults were met
int fail_at_every_file_call(const FileFaultLoop& loop);

}  // namespace support
