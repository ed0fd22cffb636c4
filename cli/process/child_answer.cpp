#include "process/child_answer.h"

#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "shared/descriptor.h"

namespace cli {

void wait_for_end(pid_t child) {
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}

namespace {

/// What the work throws ends the child, which must not go on as if it were its parent.
[[noreturn]] void answer_and_end(const std::function<void()>& work, int pipe, const void* answer,
                                 size_t size) noexcept {
    work();
    ::_exit(::write(pipe, answer, size) == static_cast<ssize_t>(size) ? EXIT_SUCCESS
                                                                      : EXIT_FAILURE);
}

}  // namespace

bool ask_child(void* answer, size_t size, const std::function<void()>& work,
               const std::function<void(pid_t)>& wait) {
    int ends[2];
    // The answer has room in the pipe, and is there when the child has ended. No look at the pipe
    // may last: a child of the child can hold it open for hours.
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return false;
    const ssd_op::shared::Descriptor hears(ends[0]);
    const ssd_op::shared::Descriptor tells(ends[1]);
    const pid_t child = ::fork();
    if (child < 0) return false;
    if (child == 0) answer_and_end(work, tells.get(), answer, size);
    wait(child);
    return ::read(hears.get(), answer, size) == static_cast<ssize_t>(size);
}

}  // namespace cli
