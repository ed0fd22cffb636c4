#pragma once

#include <functional>

#include <sys/types.h>
#include <unistd.h>

#include "base/boundary.h"

namespace ssd_op::base {

/// Which side of a fork this process is on.
class Fork {
  public:
    explicit Fork(pid_t pid) : pid_(pid) {}
    bool failed() const { return pid_ < 0; }
    bool in_child() const { return pid_ == 0; }
    pid_t child() const { return pid_; }

  private:
    pid_t pid_;
};

/// Does the work of a process that fork has made for it alone, and ends that process, whatever the
/// work throws: what began in the parent must not go on in the child.
template <typename Work>
[[noreturn]] void end_with(const char* function, Work&& work) noexcept {
    guarded(function, 0, [&] {
        work();
        return 0;
    });
    ::_exit(0);
}

/// The one place that forks. The child's standard streams point at /dev/null when `detach_streams`.
Fork fork_process(bool detach_streams = true);

/// Points descriptors 0, 1 and 2 at /dev/null; leaves them as they are when it cannot be opened.
void standard_streams_to_null();

/// A child that this process waits for, at the latest when the owner goes.
class Child {
  public:
    explicit Child(pid_t pid) : pid_(pid) {}
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() { wait(); }
    pid_t pid() const { return pid_; }
    /// Its wait status; 0 when there is no child to wait for (any more).
    int wait();

  private:
    pid_t pid_;
};

/// Does work in a child, because the work may end the process that it is done in. Whether it came
/// to its end and succeeded, and no more comes of it: neither memory nor descriptors. The child
/// dies with the thread that waits for it, and leaves no core file.
bool succeeds_in_child(const char* function, const std::function<bool()>& work);

}  // namespace ssd_op::base
