#include "core/tool.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/capture.h"
#include "core/failure.h"
#include "core/text.h"
#include "core/whole.h"
#include "shared/children.h"
#include "shared/descriptor.h"

namespace host {

namespace {

using ssd_op::shared::Descriptor;

constexpr size_t kMostOutput = 1 << 20;
constexpr size_t kMostComplaint = 4096;
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

[[noreturn]] void fail_for(const std::string& program) {
    throw Failure("No pipe can be made for " + program + ".", "Close files, then try again.");
}

/// A file in memory: whoever does not read it to its end harms nobody.
Descriptor input_of(const std::string& program, const std::string& text) {
    Descriptor file(::memfd_create("input", MFD_CLOEXEC));
    if (!file || !write_whole(file.get(), text) || ::lseek(file.get(), 0, SEEK_SET) != 0)
        fail_for(program);
    return file;
}

struct Pipe {
    explicit Pipe(const std::string& program) {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) fail_for(program);
        source = Descriptor(ends[0]);
        target = Descriptor(ends[1]);
        ::fcntl(source.get(), F_SETFL, O_NONBLOCK);
    }
    Descriptor source, target;
};

std::vector<char*> pointers_to(const std::vector<std::string>& words) {
    std::vector<char*> pointers;
    for (const std::string& word : words) pointers.push_back(const_cast<char*>(word.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

/// -1, with errno, when it cannot be started.
pid_t spawn(const std::string& path, const std::vector<std::string>& words,
            const std::vector<std::string>& variables, const std::array<int, 3>& streams) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (int stream = 0; stream < 3; ++stream)
        posix_spawn_file_actions_adddup2(&actions, streams[static_cast<size_t>(stream)], stream);
    // What the caller ignores or holds back is nothing to a program that counts on its signals.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none, usual;
    sigemptyset(&none);
    sigemptyset(&usual);
    for (const int signal : {SIGCHLD, SIGPIPE, SIGTERM, SIGINT}) sigaddset(&usual, signal);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &usual);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    pid_t pid = -1;
    const int error = ::posix_spawn(&pid, path.c_str(), &actions, &attributes,
                                    pointers_to(words).data(), pointers_to(variables).data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    errno = error;
    return error == 0 ? pid : -1;
}

}  // namespace

ToolOutput run_tool(const std::vector<std::string>& words, const ToolOptions& options) {
    const std::string& program = words.at(0);
    const std::string path = place_of(program);
    if (path.empty()) return {.found = false};
    std::vector<std::string> variables = options.variables;
    variables.emplace_back("LC_ALL=C");

    const ssd_op::shared::ChildrenAreOurs guard;
    Pipe output(program), complaint(program);
    pid_t pid = -1;
    int start_error = 0;
    {
        const Descriptor input = input_of(program, options.input);
        const Descriptor output_end = std::move(output.target);
        const Descriptor complaint_end = std::move(complaint.target);
        pid = spawn(path, words, variables, {input.get(), output_end.get(), complaint_end.get()});
        if (pid < 0) start_error = errno;
    }
    if (start_error != 0)
        return {.started = false, .whole = false, .complaint = std::strerror(start_error)};
    Child child(pid);
    Capture text(output.source.get(), kMostOutput), told(complaint.source.get(), kMostComplaint);
    ToolOutput result;
    result.whole = capture_until_end(pid, text, told, options.most_time) && !text.overflowed();
    result.complaint = told.text();
    if (!result.whole) return result;
    result.text = text.text();
    result.status = child.wait();
    return result;
}

std::string must_run(const std::vector<std::string>& words, const ToolOptions& options) {
    ToolOutput output = run_tool(words, options);
    const std::string& program = words.at(0);
    if (!output.found) {
        throw Failure(fmt::format("There is no program {} on this host.", program),
                      "Install the package that it is in.");
    }
    if (output.whole && output.status == 0) return std::move(output.text);
    const std::string end = !output.started       ? "cannot be started"
                            : !output.whole       ? "did not come to an end"
                            : output.status == -1 ? "was ended by a signal"
                                                  : fmt::format("exited with {}", output.status);
    std::string complaint(trimmed(output.complaint));
    std::replace(complaint.begin(), complaint.end(), '\n', ';');
    throw Failure(fmt::format("{} {}: {}", program, end,
                              complaint.empty() ? "it told nothing." : printable(complaint)),
                  "See dmesg for what the kernel says of it.");
}

std::vector<std::string> on_host(const std::vector<std::string>& words) {
    std::vector<std::string> line{"nsenter", "--target", "1", "--mount", "--"};
    line.insert(line.end(), words.begin(), words.end());
    return line;
}

}  // namespace host
