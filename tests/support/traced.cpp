#include "support/traced.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/state.h"
#include "support/tracee.h"

namespace support {

namespace {

using Kind = SystemCall::Kind;

Kind kind_of_opening(uint64_t flags) {
    return (flags & O_CREAT) != 0 ? Kind::kCreate : Kind::kOpen;
}

SystemCall system_call(pid_t pid, uint64_t number, const uint64_t* arguments) {
    switch (number) {
        case SYS_openat:
            return {kind_of_opening(arguments[2]), text_at(pid, arguments[1])};
        case SYS_read:
        case SYS_pread64:
            return {Kind::kRead, path_of_descriptor(pid, arguments[0])};
        case SYS_write:
        case SYS_writev:
        case SYS_pwrite64:
        case SYS_ftruncate:
            return {Kind::kWrite, path_of_descriptor(pid, arguments[0])};
        case SYS_fsync:
        case SYS_fdatasync:
            return {Kind::kSync, path_of_descriptor(pid, arguments[0])};
        case SYS_mkdirat:
            return {Kind::kCreate, text_at(pid, arguments[1])};
        case SYS_renameat2:
        case SYS_renameat:
            return {Kind::kRename, text_at(pid, arguments[1])};
        case SYS_unlinkat:
            return {Kind::kRemove, text_at(pid, arguments[1])};
        case SYS_clone:
        case SYS_clone3:
            return {Kind::kProcess, {}};
#ifdef SYS_open  // those that newer processors do without
        case SYS_open:
            return {kind_of_opening(arguments[1]), text_at(pid, arguments[0])};
        case SYS_mkdir:
            return {Kind::kCreate, text_at(pid, arguments[0])};
        case SYS_rename:
            return {Kind::kRename, text_at(pid, arguments[0])};
        case SYS_unlink:
            return {Kind::kRemove, text_at(pid, arguments[0])};
        case SYS_fork:
        case SYS_vfork:
            return {Kind::kProcess, {}};
#endif
        default:
            return {};
    }
}

/// Registers of a call in the making: its number, which becomes that of no call, and its result.
#if defined(__x86_64__)
void poke(pid_t pid, size_t register_offset, int64_t value) {
    ::ptrace(PTRACE_POKEUSER, pid, register_offset, value);
}
void skip_call(pid_t pid) { poke(pid, offsetof(user_regs_struct, orig_rax), -1); }
void set_result(pid_t pid, int64_t value) { poke(pid, offsetof(user_regs_struct, rax), value); }
#else
#error "Which registers hold the number and the result of a system call?"
#endif

}  // namespace

Traced::Traced(const std::function<void()>& body) : pid_(::fork()) {
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

Traced::~Traced() {
    if (ended_) return;
    ::kill(pid_, SIGKILL);
    while (!ended_) wait();
}

std::optional<SystemCall> Traced::next() {
    for (;;) {
        resume();
        if (ended_) return std::nullopt;
        if (WSTOPSIG(status_) != (SIGTRAP | 0x80)) {
            signal_ = WSTOPSIG(status_);  // a signal of its own, which it gets
            continue;
        }
        __ptrace_syscall_info call{};
        ::ptrace(PTRACE_GET_SYSCALL_INFO, pid_, sizeof call, &call);
        if (call.op != PTRACE_SYSCALL_INFO_ENTRY) continue;
        const auto* arguments = reinterpret_cast<const uint64_t*>(call.entry.args);
        SystemCall found = system_call(pid_, call.entry.nr, arguments);
        if (found.kind != Kind::kOther) return found;
    }
}

void Traced::fail(int error) {
    skip_call(pid_);
    resume();  // to the end of the call
    if (!ended_) set_result(pid_, -error);
}

bool Traced::came_through() const {
    return ended_ && WIFEXITED(status_) && WEXITSTATUS(status_) == 0;
}

void Traced::resume() {
    ::ptrace(PTRACE_SYSCALL, pid_, nullptr, std::exchange(signal_, 0));
    wait();
}

void Traced::wait() {
    while (::waitpid(pid_, &status_, 0) < 0) {
        if (errno != EINTR) throw std::runtime_error("cannot wait for a child");
    }
    ended_ = WIFEXITED(status_) || WIFSIGNALED(status_);
}

}  // namespace support
