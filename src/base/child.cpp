#include "base/child.h"

#include <cerrno>
#include <csignal>
#include <new>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ssd_op::base {

void standard_streams_to_null() {
    const int null = ::open("/dev/null", O_RDWR);
    if (null < 0) return;
    for (int stream = 0; stream <= 2; ++stream) {
        if (stream != null) ::dup2(null, stream);
    }
    if (null > 2) ::close(null);
}

Fork fork_process(bool detach_streams) {
    const Fork side(::fork());
    if (side.in_child() && detach_streams) standard_streams_to_null();
    return side;
}

int Child::wait() {
    const pid_t pid = std::exchange(pid_, -1);
    if (pid <= 0) return 0;
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

namespace {

/// One answer that a child gives its parent. An exit status would be lost in a process that ignores
/// the end of its children.
class SharedAnswer {
  public:
    SharedAnswer()
        : place_(::mmap(nullptr, sizeof(bool), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                        -1, 0)) {
        if (place_ == MAP_FAILED) throw std::bad_alloc();
    }
    SharedAnswer(const SharedAnswer&) = delete;
    SharedAnswer& operator=(const SharedAnswer&) = delete;
    ~SharedAnswer() { ::munmap(place_, sizeof(bool)); }
    bool& operator*() const { return *static_cast<bool*>(place_); }

  private:
    void* place_;
};

/// Without the caller's handlers, which would take a broken child for a broken caller.
void break_quietly() {
    for (const int signal : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL}) ::signal(signal, SIG_DFL);
    const rlimit no_core{};
    ::setrlimit(RLIMIT_CORE, &no_core);
}

}  // namespace

bool succeeds_in_child(const char* function, const std::function<bool()>& work) {
    const SharedAnswer answer;
    const pid_t parent = ::getpid();
    const Fork side = fork_process();
    if (side.in_child()) {
        end_with(function, [&] {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (::getppid() != parent) return;
            break_quietly();
            *answer = work();
        });
    }
    Child(side.child()).wait();
    return *answer;
}

}  // namespace ssd_op::base
