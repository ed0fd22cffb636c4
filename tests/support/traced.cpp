#include "support/traced.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <system_error>
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
#include "support/process.h"

namespace support {

namespace {

using Kind = SystemCall::Kind;

/// Which argument of a call tells the file, and how.
struct KnownCall {
    uint32_t number;
    Kind kind;
    enum class Names { kNothing, kDescriptor, kPath } names = Names::kNothing;
    size_t argument = 0;
};
using Names = KnownCall::Names;

constexpr KnownCall kKnownCalls[] = {
    {SYS_openat, Kind::kOpen, Names::kPath, 1},
    {SYS_mkdirat, Kind::kMakeDirectory, Names::kPath, 1},
    {SYS_read, Kind::kRead, Names::kDescriptor, 0},
    {SYS_pread64, Kind::kRead, Names::kDescriptor, 0},
    {SYS_write, Kind::kWrite, Names::kDescriptor, 0},
    {SYS_writev, Kind::kWrite, Names::kDescriptor, 0},
    {SYS_pwrite64, Kind::kWrite, Names::kDescriptor, 0},
    {SYS_ftruncate, Kind::kWrite, Names::kDescriptor, 0},
    {SYS_copy_file_range, Kind::kWrite, Names::kDescriptor, 2},
    {SYS_fsync, Kind::kSync, Names::kDescriptor, 0},
    {SYS_fdatasync, Kind::kSync, Names::kDescriptor, 0},
    {SYS_linkat, Kind::kLink, Names::kPath, 1},
    {SYS_renameat, Kind::kRename, Names::kPath, 1},
    {SYS_renameat2, Kind::kRename, Names::kPath, 1},
    {SYS_unlinkat, Kind::kRemove, Names::kPath, 1},
    {SYS_clone, Kind::kProcess},
    {SYS_clone3, Kind::kProcess},
#ifdef SYS_open  // those that newer processors do without
    {SYS_open, Kind::kOpen, Names::kPath, 0},
    {SYS_mkdir, Kind::kMakeDirectory, Names::kPath, 0},
    {SYS_link, Kind::kLink, Names::kPath, 0},
    {SYS_rename, Kind::kRename, Names::kPath, 0},
    {SYS_unlink, Kind::kRemove, Names::kPath, 0},
    {SYS_fork, Kind::kProcess},
    {SYS_vfork, Kind::kProcess},
#endif
};

/// Has the kernel stop this process, and what comes of it, at these calls: stopping at each call
/// would take many times as long.
void stop_at_known_calls(Traced::Stops stops) {
    std::vector<sock_filter> filter{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const KnownCall& call : kKnownCalls) {
        if (stops == Traced::Stops::kNotAtReads && call.kind == Kind::kRead) continue;
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call.number, 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    if (::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) ::_exit(EXIT_FAILURE);
}

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

SystemCall call_that_begins(pid_t pid) {
    __ptrace_syscall_info info{};
    ::ptrace(PTRACE_GET_SYSCALL_INFO, pid, sizeof info, &info);
    const auto* arguments = reinterpret_cast<const uint64_t*>(info.seccomp.args);
    const auto* known = std::ranges::find(kKnownCalls, info.seccomp.nr, &KnownCall::number);
    if (known == std::end(kKnownCalls)) throw std::runtime_error("a call that nobody asked for");
    SystemCall call{known->kind, {}, pid};
    const uint64_t file = arguments[known->argument];
    if (known->names == Names::kPath) call.path = text_at(pid, file);
    if (known->names == Names::kDescriptor) call.path = path_of_descriptor(pid, file);
    if (call.kind == Kind::kOpen && (arguments[known->argument + 1] & O_CREAT) != 0)
        call.kind = Kind::kCreate;
    return call;
}

/// Has a process that stands at a call make none, and get this error of it.
void turn_away(pid_t process, int error) {
    constexpr auto kNoCall = static_cast<uint64_t>(-1);
    user_regs_struct registers{};
#if defined(__x86_64__)
    ::ptrace(PTRACE_GETREGS, process, nullptr, &registers);
    registers.orig_rax = kNoCall;
    registers.rax = static_cast<decltype(registers.rax)>(-error);
    ::ptrace(PTRACE_SETREGS, process, nullptr, &registers);
#elif defined(__aarch64__)
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

}  // namespace

class Traced::Impl {
  public:
    Impl(const std::function<void()>& body, Stops stops) : child_(::fork()) {
        if (child_ == 0) {
            if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) ::_exit(1);
            ::raise(SIGSTOP);
            stop_at_known_calls(stops);
            appliance::state();  // the parent's connection is set aside
            body();
            ::_exit(0);
        }
        if (child_ < 0) throw std::runtime_error("cannot fork");
        processes_.try_emplace(child_, false);
        wait();
        if (processes_.empty()) throw std::runtime_error("cannot watch a child");
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

    std::optional<SystemCall> next() {
        for (go_on(); !processes_.empty(); go_on()) {
            const Stop stop = wait();
            if (!processes_.contains(stop.process)) continue;
            stopped_ = stop.process;
            if (stop.event == PTRACE_EVENT_SECCOMP) return call_that_begins(stop.process);
            // The first stop of a new process, and stops for an event, are no signals of theirs.
            signal_ = stop.event != 0 || stop.is_new ? 0 : stop.signal;
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

    bool came_through() const {
        return !processes_.contains(child_) && WIFEXITED(child_status_) &&
               WEXITSTATUS(child_status_) == 0;
    }

  private:
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

    /// Not of one whose end was seen before the news of its birth.
    static bool is_there(pid_t process) {
        siginfo_t ignored{};
        constexpr int kLook = WEXITED | WSTOPPED | WNOHANG | WNOWAIT | __WALL;
        return ::waitid(P_PID, static_cast<id_t>(process), &ignored, kLook) == 0;
    }

    /// Waits until one of them stops or ends.
    Stop wait() {
        int status = 0;
        const pid_t process = wait_for_any(status);
        if (WIFSTOPPED(status)) {
            const int event = status >> 16;
            if (event == PTRACE_EVENT_FORK || event == PTRACE_EVENT_VFORK ||
                event == PTRACE_EVENT_CLONE) {  // it has a child
                unsigned long born = 0;
                ::ptrace(PTRACE_GETEVENTMSG, process, nullptr, &born);
                if (born != 0 && is_there(static_cast<pid_t>(born)))
                    processes_.try_emplace(static_cast<pid_t>(born), false);
            }
            const bool was_seen = std::exchange(processes_[process], true);
            return {process, WSTOPSIG(status), event, !was_seen};
        }
        processes_.erase(process);
        if (process == child_) child_status_ = status;
        return {process, 0, 0, false};
    }

    /// They may lead groups of their own, so all children are waited for; the end of one that is
    /// not traced is left to its owner.
    pid_t wait_for_any(int& status) const {
        siginfo_t next{};
        while (::waitid(P_ALL, 0, &next, WEXITED | WSTOPPED | WNOWAIT | __WALL) != 0) {
            if (errno != EINTR) throw std::runtime_error("cannot wait for a child");
        }
        const bool has_stopped = next.si_code == CLD_TRAPPED || next.si_code == CLD_STOPPED;
        if (has_stopped || processes_.contains(next.si_pid))
            return ::waitpid(next.si_pid, &status, __WALL);
        for (;; pause_for_milliseconds(1)) {
            for (const auto& [process, seen] : processes_) {
                if (::waitpid(process, &status, __WALL | WNOHANG) == process) return process;
            }
        }
    }

    pid_t child_;
    std::map<pid_t, bool> processes_;  ///< whether its first stop has been seen
    pid_t stopped_ = 0;
    int signal_ = 0;
    int child_status_ = 0;
};

bool changes_files(const SystemCall& call) {
    constexpr Kind kOthers[] = {Kind::kOpen, Kind::kRead, Kind::kMakeDirectory, Kind::kProcess};
    return std::ranges::find(kOthers, call.kind) == std::end(kOthers);
}

Traced::Traced(const std::function<void()>& body, Stops stops)
    : impl_(std::make_unique<Impl>(body, stops)) {}
Traced::~Traced() = default;

pid_t Traced::child() const { return impl_->child(); }

std::optional<SystemCall> Traced::next() { return impl_->next(); }

std::optional<SystemCall> Traced::next_change(const std::string& in_path) {
    for (std::optional<SystemCall> call = next(); call; call = next()) {
        if (changes_files(*call) && call->path.find(in_path) != std::string::npos) return call;
    }
    return {};
}

void Traced::fail(pid_t process, int error) { turn_away(process, error); }

void Traced::kill(pid_t process) { impl_->kill(process); }

void Traced::run_to_end() {
    while (next()) {
    }
}

bool Traced::came_through() const { return impl_->came_through(); }

}  // namespace support
