/// A child process that is stopped at its system calls.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include <sys/types.h>

namespace support {

/// One system call that a traced child is about to make.
struct SystemCall {
    enum class Kind {
        kOther,
        kOpen,
        kCreate,  ///< an open that makes the file when it is not there, or the making of a
                  ///< directory
        kRead,
        kWrite,  ///< also a change of the file's size
        kSync,
        kRename,
        kRemove,
        kProcess,  ///< a new process
    };
    Kind kind = Kind::kOther;
    std::string path;  ///< of the file it is about
};

/// Runs a function in a child, one system call after the other. The child's own children run
/// freely.
class Traced {
  public:
    /// @throws std::runtime_error when the child cannot be watched, like all that follow
    explicit Traced(const std::function<void()>& body);
    Traced(const Traced&) = delete;
    Traced& operator=(const Traced&) = delete;
    ~Traced();  ///< kills it when it has not ended

    /// Runs on to the next system call of a kind that is known; none: the child has ended.
    std::optional<SystemCall> next();
    /// Lets the call at which the child stands fail with this error.
    void fail(int error);

    /// It ended by itself, with status 0.
    bool came_through() const;

  private:
    void resume();
    void wait();

    pid_t pid_;
    int status_ = 0;
    int signal_ = 0;  ///< to be delivered
    bool ended_ = false;
};

}  // namespace support
