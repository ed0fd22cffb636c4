#include "support/process.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <ios>
#include <ostream>
#include <stdexcept>
#include <utility>

#include <dirent.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "support/files.h"

namespace support {

namespace {

constexpr int kThrew = 99;

[[noreturn]] void run_and_exit(const std::function<int()>& body) {
    int status = kThrew;
    try {
        status = body();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "a test's child threw: %s\n", error.what());
    }
    std::exit(status);  // not _exit: coverage counters are written on the way out
}

Ending ending_of(int status) {
    return WIFEXITED(status) ? exited(WEXITSTATUS(status)) : killed(WTERMSIG(status));
}

/// Empty when the process has ended, at whatever point of the reading.
std::string read_process_file(const std::string& path) {
    try {
        return read_file(path);
    } catch (const std::ios_base::failure&) {
        return {};
    }
}

ProcessInfo read_process(pid_t pid) {
    const std::string directory = "/proc/" + std::to_string(pid);
    // "PID (NAME) STATE PARENT ...", and the name may hold anything.
    const std::string status = read_process_file(directory + "/stat");
    ProcessInfo process{.pid = pid, .parent = 0, .state = '?', .command = ""};
    const size_t name_end = status.rfind(')');
    if (name_end != std::string::npos)
        std::sscanf(status.c_str() + name_end + 1, " %c %d", &process.state, &process.parent);
    process.command = read_process_file(directory + "/cmdline");
    std::ranges::replace(process.command, '\0', ' ');
    return process;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Ending& ending) {
    if (ending.status) return out << "exit status " << *ending.status;
    return out << "ended by signal " << ending.signal.value_or(0);
}

Child::Child(const std::function<int()>& body) {
    std::fflush(nullptr);
    pid_ = ::fork();
    if (pid_ < 0) throw std::runtime_error("cannot fork");
    if (pid_ == 0) run_and_exit(body);
}

Child::~Child() {
    if (ending_) return;
    signal(SIGKILL);
    wait();
}

void Child::signal(int number) const { ::kill(pid_, number); }

bool Child::running() {
    if (ending_) return false;
    int status = 0;
    if (::waitpid(pid_, &status, WNOHANG) != pid_) return true;
    ending_ = ending_of(status);
    return false;
}

Ending Child::wait() {
    if (!ending_) ending_ = wait_for(pid_);
    return *ending_;
}

int exec_as(const std::string& command_line) {
    return ::execl("/usr/bin/tail", command_line.c_str(), "-f", "/dev/null", nullptr);
}

Ending in_child(const std::function<int()>& body) { return Child(body).wait(); }

Ending wait_for(pid_t pid) {
    int status = 0;
    pid_t ended;
    do ended = ::waitpid(pid, &status, 0);
    while (ended < 0 && errno == EINTR);
    if (ended != pid) throw std::runtime_error("no such child: " + std::to_string(pid));
    return ending_of(status);
}

Outcome shell(const std::string& command) {
    std::FILE* pipe = ::popen(("{ " + command + "; } </dev/null 2>&1").c_str(), "r");
    Outcome result{};
    char part[4096];
    for (size_t count; (count = std::fread(part, 1, sizeof part, pipe)) > 0;)
        result.output.append(part, count);
    result.status = WEXITSTATUS(::pclose(pipe));
    return result;
}

std::vector<ProcessInfo> processes() {
    std::vector<ProcessInfo> found;
    DIR* directory = ::opendir("/proc");
    if (directory == nullptr) return found;
    while (const dirent* entry = ::readdir(directory)) {
        const pid_t pid = std::atoi(entry->d_name);
        if (pid > 0) found.push_back(read_process(pid));
    }
    ::closedir(directory);
    return found;
}

std::vector<ProcessInfo> children() {
    std::vector<ProcessInfo> found = processes();
    std::erase_if(found, [](const ProcessInfo& process) { return process.parent != ::getpid(); });
    return found;
}

std::ostream& operator<<(std::ostream& out, const ProcessInfo& process) {
    return out << process.pid << ' ' << process.state << ' ' << process.command;
}

bool eventually(const std::function<bool()>& condition) {
    const auto wall_seconds = [] {  // the C library's own answer follows the fast clock
        timespec now{};
        ::syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &now);
        return now.tv_sec;
    };
    const time_t last = wall_seconds() + 60;
    while (!condition()) {
        if (wall_seconds() > last) return false;
        pause_for_milliseconds(2);
    }
    return true;
}

bool eventually(const std::function<bool()>& condition, int seconds) {
    const time_t last = ::time(nullptr) + seconds;
    while (!condition()) {
        if (::time(nullptr) > last) return false;
        pause_for_milliseconds(2);
    }
    return true;
}

void pause_for_milliseconds(int milliseconds) {
    // The C library's own sleeps follow the fast clock.
    const timespec pause{milliseconds / 1000, milliseconds % 1000 * 1'000'000L};
    ::syscall(SYS_nanosleep, &pause, nullptr);
}

}  // namespace support
