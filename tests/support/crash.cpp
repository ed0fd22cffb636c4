#include "support/crash.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/state.h"

namespace support {

namespace {

std::string path_of_descriptor(pid_t pid, uint64_t fd) {
    std::error_code none;
    return std::filesystem::read_symlink(
        "/proc/" + std::to_string(pid) + "/fd/" + std::to_string(fd), none);
}

std::string text_at(pid_t pid, uint64_t address) {
    std::array<char, 256> text{};
    iovec local{text.data(), text.size() - 1};
    iovec remote{reinterpret_cast<void*>(address), text.size() - 1};
    ::process_vm_readv(pid, &local, 1, &remote, 1, 0);
    return text.data();
}

/// The path that a system call is about to change; empty for one that changes nothing.
std::string changed_path(pid_t pid, uint64_t number, const uint64_t* arguments) {
    switch (number) {
        case SYS_write:
        case SYS_pwrite64:
        case SYS_ftruncate:
            return path_of_descriptor(pid, arguments[0]);
        case SYS_unlinkat:
        case SYS_renameat2:
        case SYS_renameat:
            return text_at(pid, arguments[1]);
#ifdef SYS_unlink
        case SYS_unlink:
        case SYS_rename:
            return text_at(pid, arguments[0]);
#endif
        default:
            return {};
    }
}

/// A child that stops at each of its system calls.
class Traced {
  public:
    explicit Traced(const std::function<void()>& body) : pid_(::fork()) {
        if (pid_ == 0) {
            ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
            ::raise(SIGSTOP);
            appliance::state();  // the parent's connection is set aside
            body();
            ::_exit(0);
        }
        if (pid_ < 0) throw std::runtime_error("cannot fork");
        wait();
        ::ptrace(PTRACE_SETOPTIONS, pid_, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    }
    Traced(const Traced&) = delete;
    Traced& operator=(const Traced&) = delete;
    ~Traced() {
        if (ended_) return;
        ::kill(pid_, SIGKILL);
        while (!ended_) wait();
    }

    /// Runs on to the next system call that changes something; its path. Empty when it has ended.
    std::string next_change() {
        int signal = 0;
        for (;;) {
            ::ptrace(PTRACE_SYSCALL, pid_, nullptr, signal);
            wait();
            if (ended_) return {};
            signal = WSTOPSIG(status_);
            if (signal != (SIGTRAP | 0x80)) continue;  // a signal of its own, which it gets
            signal = 0;
            __ptrace_syscall_info call{};
            ::ptrace(PTRACE_GET_SYSCALL_INFO, pid_, sizeof call, &call);
            if (call.op != PTRACE_SYSCALL_INFO_ENTRY) continue;
            const auto* arguments = reinterpret_cast<const uint64_t*>(call.entry.args);
            const std::string path = changed_path(pid_, call.entry.nr, arguments);
            if (!path.empty()) return path;
        }
    }

    bool came_through() const { return ended_ && WIFEXITED(status_) && WEXITSTATUS(status_) == 0; }

  private:
    void wait() {
        while (::waitpid(pid_, &status_, 0) < 0) {
            if (errno != EINTR) throw std::runtime_error("cannot wait for a child");
        }
        ended_ = WIFEXITED(status_) || WIFSIGNALED(status_);
    }

    pid_t pid_;
    int status_ = 0;
    bool ended_ = false;
};

}  // namespace

bool killed_at_change(int n, const std::string& in_path, const std::function<void()>& body) {
    Traced child(body);
    for (int changes = 0; changes < n;) {
        const std::string path = child.next_change();
        if (path.empty()) {
            if (!child.came_through()) throw std::runtime_error("the child ended badly");
            return false;
        }
        if (path.find(in_path) != std::string::npos) ++changes;
    }
    return true;  // and it is killed here
}

int kill_at_every_change(const std::string& in_path, const std::function<void()>& before,
                         const std::function<void()>& body, const std::function<void()>& after) {
    for (int n = 1;; ++n) {
        before();
        const bool killed = killed_at_change(n, in_path, body);
        after();
        if (!killed) return n - 1;
    }
}

}  // namespace support
