/// The one call that runs commands.

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/hal.h"
#include "provider/call.h"
#include "shared/children.h"

namespace {

constexpr int kFailure = -1;

class Pipe {
  public:
    Pipe() {
        if (::pipe2(ends_.data(), O_CLOEXEC) != 0) ends_ = {-1, -1};
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        for (const int end : ends_) {
            if (end >= 0) ::close(end);
        }
    }
    bool good() const { return ends_[0] >= 0; }
    int reader() const { return ends_[0]; }
    int writer() const { return ends_[1]; }
    void close_writer() { ::close(std::exchange(ends_[1], -1)); }

  private:
    std::array<int, 2> ends_{-1, -1};
};

/// The shell's process id, or -1. `output` is where its standard output goes; -1: where ours goes.
pid_t start_shell(const char* command, int output, const sigset_t& mask) {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    if (::posix_spawn_file_actions_init(&actions) != 0) return kFailure;
    if (::posix_spawnattr_init(&attributes) != 0) {
        ::posix_spawn_file_actions_destroy(&actions);
        return kFailure;
    }
    if (output >= 0) ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    ::posix_spawnattr_setsigmask(&attributes, &mask);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    std::array<char*, 4> argv{const_cast<char*>("sh"), const_cast<char*>("-c"),
                              const_cast<char*>(command), nullptr};
    pid_t pid = kFailure;
    if (::posix_spawn(&pid, "/bin/sh", &actions, &attributes, argv.data(), environ) != 0)
        pid = kFailure;
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&actions);
    return pid;
}

/// Keeps what fits and reads on to the end, so that the command never meets a closed pipe.
void capture(int fd, char* output, int size) {
    size_t room = static_cast<size_t>(size) - 1;
    char* end = output;
    std::array<char, 4096> chunk;
    for (;;) {
        const ssize_t got = ::read(fd, chunk.data(), chunk.size());
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        const size_t kept = std::min(static_cast<size_t>(got), room);
        std::memcpy(end, chunk.data(), kept);
        end += kept;
        room -= kept;
    }
    if (end != output && end[-1] == '\n') --end;
    *end = '\0';
}

int wait_for(pid_t pid) {
    int status = 0;
    pid_t ended;
    do ended = ::waitpid(pid, &status, 0);
    while (ended < 0 && errno == EINTR);
    return ended == pid && WIFEXITED(status) ? WEXITSTATUS(status) : kFailure;
}

int run(const char* command, char* output, int size) {
    const ssd_op::shared::ChildrenAreOurs guard;
    if (output == nullptr || size < 1) {
        const pid_t pid = start_shell(command, -1, guard.callers_mask());
        return pid < 0 ? kFailure : wait_for(pid);
    }
    output[0] = '\0';
    Pipe pipe;
    if (!pipe.good()) return kFailure;
    const pid_t pid = start_shell(command, pipe.writer(), guard.callers_mask());
    if (pid < 0) return kFailure;
    pipe.close_writer();
    capture(pipe.reader(), output, size);
    return wait_for(pid);
}

}  // namespace

int Get_Command_Result(const char* command, char* output, int size) {
    return provider::call(__func__, provider::arguments(command), [&] {
        return command == nullptr ? kFailure : run(command, output, size);
    });
}
