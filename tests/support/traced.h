/// Processes that stop at their system calls, and can be failed or killed there.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <sys/types.h>

namespace support {

/// One system call that a traced process is about to make.
struct SystemCall {
    enum class Kind {
        kOpen,
        kCreate,  ///< an open that makes the file when it is not there
        kMakeDirectory,
        kRead,
        kWrite,  ///< also a change of the file's size
        kSync,
        kLink,
        kRename,
        kRemove,
        kProcess,  ///< a new process
    };
    Kind kind;
    std::string path;  ///< of the file it is about
    pid_t process;
};

/// Whether files, or what is in them, may be others after the call.
bool changes_files(const SystemCall& call);

/// A child that runs a function, with every process that comes of it.
class Traced {
  public:
    enum class Stops {
        kAtAll,
        kNotAtReads  ///< which are most of them; for next_change() alone
    };
    /// @throws std::runtime_error when the child cannot be watched, like all that follow
    explicit Traced(const std::function<void()>& body, Stops stops = Stops::kAtAll);
    ~Traced();  ///< kills what has not ended

    pid_t child() const;
    /// Runs on to the next system call of a kind that is known, at which its process stops; none:
    /// all have ended.
    std::optional<SystemCall> next();
    /// The same, to the next call that changes files and whose path holds `in_path`.
    std::optional<SystemCall> next_change(const std::string& in_path);
    /// Has the call at which one of them stands fail with this error, without doing anything.
    void fail(pid_t process, int error);
    /// Kills one of them, which is gone then.
    void kill(pid_t process);
    /// Lets those that are left come to their end.
    void run_to_end();
    /// The child ended by itself, with status 0.
    bool came_through() const;

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace support
