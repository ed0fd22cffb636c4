/// Processes that die in the middle of their work, at a place that can be chosen.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <sys/types.h>

namespace support {

/// A child that runs a function, with every process that comes of it. Each of them stops before it
/// changes a file, and only then. What is left of them is killed when the owner goes.
class Watched {
  public:
    struct Change {
        pid_t process;
        std::string path;
    };

    /// @throws std::runtime_error when the child cannot be watched
    explicit Watched(const std::function<void()>& body);
    ~Watched();

    pid_t child() const;
    /// Runs on to the next change of a file whose path holds `in_path`, at which its process stops;
    /// none when all have ended.
    std::optional<Change> next_change(const std::string& in_path);
    /// Kills one of them, which is gone then.
    void kill(pid_t process);
    /// Has the call that one of them is stopped at fail with this error, without doing anything.
    void fail(pid_t process, int error);
    /// Lets those that are left come to their end.
    void run_to_end();
    /// The child ended by itself and well.
    bool came_through() const;

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

/// Runs a function in a child that is killed (SIGKILL) right before its n-th system call that
/// makes, writes to, resizes, links, renames or removes a file whose path holds `in_path`, n from
/// 1. What it started is killed with it.
///
/// @return whether it came to that; false: the function had fewer such calls and ended by itself
/// @throws std::runtime_error when the child cannot be watched
bool killed_at_change(int n, const std::string& in_path, const std::function<void()>& body);

/// Kills the function at its first such call, then at its second, and so on, until it comes
/// through; `before` makes the scene for each try and `after` looks at it. How often it was killed.
int kill_at_every_change(const std::string& in_path, const std::function<void()>& before,
                         const std::function<void()>& body, const std::function<void()>& after);

}  // namespace support
