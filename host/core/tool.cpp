#include "core/tool.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/failure.h"
#include "shared/descriptor.h"

namespace host {

namespace {

using Clock = std::chrono::steady_clock;
using ssd_op::shared::Descriptor;

constexpr size_t kMostOutput = 1 << 20;
constexpr std::chrono::seconds kMostTime{30};
constexpr std::array kPlaces{"/usr/sbin/", "/usr/bin/", "/sbin/", "/bin/"};

std::string place_of(const std::string& program) {
    for (const char* place : kPlaces) {
        std::string path = place + program;
        if (::access(path.c_str(), X_OK) == 0) return path;
    }
    return {};
}

/// A child that is ended and waited for at the latest when the owner goes.
class Child {
  public:
    explicit Child(pid_t pid) : pid_(pid) {}
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() {
        if (pid_ > 0) end();
    }
    void end() {
        ::kill(pid_, SIGKILL);
        wait();
    }
    int wait() {
        int status = 0;
        while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
        }
        pid_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

  private:
    pid_t pid_;
};

pid_t spawn(const std::string& path, const std::vector<std::string>& words, int output) {
    std::vector<char*> arguments;
    for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    std::array<char, 9> locale{"LC_ALL=C"};
    std::array<char*, 2> environment{locale.data(), nullptr};

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, 1);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    const int error =
        ::posix_spawn(&pid, path.c_str(), &actions, nullptr, arguments.data(), environment.data());
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? pid : -1;
}

/// Reads to the end; false when that did not come within the limits.
bool read_all(int source, std::string& text) {
    const auto until = Clock::now() + kMostTime;
    std::array<char, 16384> block;
    while (text.size() <= kMostOutput) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
        pollfd ready{source, POLLIN, 0};
        if (left <= 0) return false;
        const int polled = ::poll(&ready, 1, static_cast<int>(left));
        if (polled == 0 || (polled < 0 && errno != EINTR)) return false;
        if (polled < 0) continue;
        const ssize_t got = ::read(source, block.data(), block.size());
        if (got == 0) return true;
        if (got < 0) return false;
        text.append(block.data(), static_cast<size_t>(got));
    }
    return false;
}

}  // namespace

ToolOutput run_tool(const std::vector<std::string>& words) {
    const std::string path = place_of(words.at(0));
    if (path.empty()) return {.found = false};
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        throw Failure("No pipe can be made for " + words[0] + ".", "Close files, then try again.");
    const Descriptor source(ends[0]);
    Descriptor target(ends[1]);
    const pid_t pid = spawn(path, words, target.get());
    { const Descriptor closed = std::move(target); }
    if (pid < 0) return {.whole = false};
    Child child(pid);
    ToolOutput output;
    output.whole = read_all(source.get(), output.text);
    if (!output.whole) {
        output.text.clear();
        return output;
    }
    output.status = child.wait();
    return output;
}

}  // namespace host
