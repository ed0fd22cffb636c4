#include "support/crash.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

#include <elf.h>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/state.h"
#include "support/tracee.h"

namespace support {

namespace {

/// What may change a file, with the argument that tells which.
enum class Names { kDescriptor, kPath };
struct ChangingCall {
    uint32_t number;
    Names names;
    size_t argument;
};
constexpr ChangingCall kChangingCalls[] = {
    {SYS_write, Names::kDescriptor, 0},     {SYS_pwrite64, Names::kDescriptor, 0},
    {SYS_ftruncate, Names::kDescriptor, 0}, {SYS_copy_file_range, Names::kDescriptor, 2},
    {SYS_openat, Names::kPath, 1},  // to make it
    {SYS_unlinkat, Names::kPath, 1},        {SYS_linkat, Names::kPath, 1},
    {SYS_renameat, Names::kPath, 1},        {SYS_renameat2, Names::kPath, 1},
    {SYS_fsync, Names::kDescriptor, 0},
#ifdef SYS_unlink
    {SYS_unlink, Names::kPath, 0},          {SYS_link, Names::kPath, 0},
    {SYS_rename, Names::kPath, 0},
#endif
};

/// Has the kernel stop this process, and what comes of it, at these calls: stopping at each call
/// would take many times as long.
void stop_at_changes() {
    std::vector<sock_filter> filter{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 4),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[2])),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, O_CREAT, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    for (const ChangingCall& call : kChangingCalls) {
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call.number, 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    if (::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) ::_exit(EXIT_FAILURE);
}

/// The path that a system call is about to change; empty for one that changes nothing.
std::string changed_path(pid_t pid, uint64_t number, const uint64_t* arguments) {
    const auto* call = std::ranges::find(kChangingCalls, number, &ChangingCall::number);
    if (call == std::end(kChangingCalls)) return {};
    const uint64_t value = arguments[call->argument];
    return call->names == Names::kPath ? text_at(pid, value) : path_of_descriptor(pid, value);
}

}  // namespace

class Watched::Impl {
  public:
    explicit Impl(const std::function<void()>& body) : child_(::fork()) {
        if (child_ == 0) {
            // A group of its own, so that they can be waited for without the test's other children.
            ::setpgid(0, 0);
            ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
            ::raise(SIGSTOP);
            stop_at_changes();
            appliance::state();  // the parent's connection is set aside
            body();
            ::_exit(0);
        }
        if (child_ < 0) throw std::runtime_error("cannot fork");
        ::setpgid(child_, child_);
        if (wait().process != child_ || processes_.empty())
            throw std::runtime_error("cannot watch a child");
        ::ptrace(PTRACE_SETOPTIONS, child_, nullptr,
                 PTRACE_O_TRACESECCOMP | PTRACE_O_EXITKILL | PTRACE_O_TRACEFORK |
                     PTRACE_O_TRACEVFORK | PTRACE_O_TRACECLONE | PTRACE_O_TRACEEXEC);
        stopped_ = child_;
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;
    ~Impl() {
        for (const auto& [process, seen] : processes_) ::kill(process, SIGKILL);
        while (!processes_.empty()) wait();
    }

    pid_t child() const { return child_; }

    std::optional<Change> next_change(const std::string& in_path) {
        for (go_on(); !processes_.empty(); go_on()) {
            const Stop stop = wait();
            if (!processes_.contains(stop.process)) continue;
            stopped_ = stop.process;
            if (stop.event != PTRACE_EVENT_SECCOMP) {
                // The first stop of a new process, and stops for an event, are no signals of
                // theirs.
                const bool is_news = stop.event != 0 || stop.is_new;
                signal_ = is_news ? 0 : stop.signal;
                continue;
            }
            std::string path = path_about_to_change(stop.process);
            if (!path.empty() && path.find(in_path) != std::string::npos)
                return Change{stop.process, std::move(path)};
        }
        return {};
    }

    void kill(pid_t process) {
        ::kill(process, SIGKILL);
        while (processes_.contains(process)) {
            const Stop stop = wait();
            if (processes_.contains(stop.process) && stop.process != process)
                ::ptrace(PTRACE_CONT, stop.process, nullptr, 0);
        }
        if (stopped_ == process) stopped_ = 0;
    }

    static void fail(pid_t process, int error) {
#if defined(__x86_64__)
        user_regs_struct registers{};
        ::ptrace(PTRACE_GETREGS, process, nullptr, &registers);
        registers.orig_rax = kNoCall;
        registers.rax = static_cast<decltype(registers.rax)>(-error);
        ::ptrace(PTRACE_SETREGS, process, nullptr, &registers);
#elif defined(__aarch64__)
        user_regs_struct registers{};
        iovec all{&registers, sizeof registers};
        ::ptrace(PTRACE_GETREGSET, process, NT_PRSTATUS, &all);
        registers.regs[0] = static_cast<uint64_t>(-error);
        ::ptrace(PTRACE_SETREGSET, process, NT_PRSTATUS, &all);
        int number = static_cast<int>(kNoCall);
        iovec call{&number, sizeof number};
        ::ptrace(PTRACE_SETREGSET, process, NT_ARM_SYSTEM_CALL, &call);
#else
#error "How does a tracer skip a system call here?"
#endif
    }

    bool came_through() const {
        return !processes_.contains(child_) && WIFEXITED(child_status_) &&
               WEXITSTATUS(child_status_) == 0;
    }

  private:
    static constexpr auto kNoCall = static_cast<uint64_t>(-1);

    struct Stop {
        pid_t process;
        int signal;
        int event;
        bool is_new;
    };

    /// Resumes the process that stopped last.
    void go_on() {
        if (stopped_ > 0) ::ptrace(PTRACE_CONT, stopped_, nullptr, signal_);
        stopped_ = signal_ = 0;
    }

    /// Waits until one of them stops or ends.
    Stop wait() {
        int status = 0;
        pid_t process;
        while ((process = ::waitpid(-child_, &status, __WALL)) < 0) {
            if (errno != EINTR) throw std::runtime_error("cannot wait for a child");
        }
        if (WIFSTOPPED(status)) {
            const int event = status >> 16;
            if (event == PTRACE_EVENT_FORK || event == PTRACE_EVENT_VFORK ||
                event == PTRACE_EVENT_CLONE) {  // it has a child
                unsigned long born = 0;
                ::ptrace(PTRACE_GETEVENTMSG, process, nullptr, &born);
                processes_.try_emplace(static_cast<pid_t>(born), false);
            }
            const bool was_seen = std::exchange(processes_[process], true);
            return {process, WSTOPSIG(status), event, !was_seen};
        }
        processes_.erase(process);
        if (process == child_) child_status_ = status;
        return {process, 0, 0, false};
    }

    static std::string path_about_to_change(pid_t process) {
        __ptrace_syscall_info call{};
        ::ptrace(PTRACE_GET_SYSCALL_INFO, process, sizeof call, &call);
        const auto* arguments = reinterpret_cast<const uint64_t*>(call.seccomp.args);
        return changed_path(process, call.seccomp.nr, arguments);
    }

    pid_t child_;
    std::map<pid_t, bool> processes_;  ///< whether its first stop has been seen
    pid_t stopped_ = 0;
    int signal_ = 0;
    int child_status_ = 0;
};

Watched::Watched(const std::function<void()>& body) : impl_(std::make_unique<Impl>(body)) {}
Watched::~Watched() = default;

pid_t Watched::child() const { return impl_->child(); }

std::optional<Watched::Change> Watched::next_change(const std::string& in_path) {
    return impl_->next_change(in_path);
}

void Watched::fail(pid_t process, int error) { Impl::fail(process, error); }

void Watched::kill(pid_t process) { impl_->kill(process); }

void Watched::run_to_end() {
    while (next_change("")) {
    }
}

bool Watched::came_through() const { return impl_->came_through(); }

bool killed_at_change(int n, const std::string& in_path, const std::function<void()>& body) {
    Watched child(body);
    for (int change = 1; child.next_change(in_path); ++change) {
        if (change == n) return true;  // and it is killed here
    }
    if (!child.came_through()) throw std::runtime_error("the child ended badly");
    return false;
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
