#include "host_way.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int kGoOn = -1;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

std::string_view variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

/// Does not come back unless it fails.
int become(std::vector<std::string> words) {
    std::vector<char*> arguments;
    std::transform(words.begin(), words.end(), std::back_inserter(arguments),
                   [](std::string& word) { return word.data(); });
    arguments.push_back(nullptr);
    ::execv(arguments[0], arguments.data());
    std::fprintf(stderr,
                 "ssd-op: %s cannot be started: %s.\n"
                 "Install the package ssd-op-host; in a build, build all of it.\n",
                 arguments[0], std::strerror(errno));
    return kFailed;
}

/// What needs nothing but the drives, the program ssd-op-host does.
bool is_for_drives_alone(const std::vector<std::string>& words) {
    constexpr std::array kOfDrives{"list", "enroll", "release"};
    if (words.empty()) return false;
    if (words[0] == "cleanup" || words[0] == "leftovers") return true;
    return words[0] == "drives" && words.size() > 1 &&
           std::find(kOfDrives.begin(), kOfDrives.end(), words[1]) != kOfDrives.end();
}

bool begins_evaluation(const std::vector<std::string>& words) {
    const auto asks = [](const std::string& word) {
        return word == "--help" || word == "-h" || word == "--dry-run";
    };
    return !words.empty() && words[0] == "start" && std::none_of(words.begin(), words.end(), asks);
}

/// Whether nothing is left of an evaluation that is gone, or has been undone now. It says so
/// itself.
bool nothing_is_left(const std::string& host_program) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(become({host_program, "leftovers"}));
    int status = -1;
    while (child > 0 && ::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return child > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

int go(const std::string& directory, std::vector<std::string> words) {
    const std::array<std::string, 2> way{directory + "../lib/ssd-op-host/host/enter", "ssd-op"};
    words.insert(words.begin(), way.begin(), way.end());
    return become(std::move(words));
}

}  // namespace

int take_host_way(const std::string& directory, int& argc, char**& argv) {
    const std::string_view provider = variable("SSD_OP_PROVIDER");
    if (!provider.empty() && provider != "host") {
        std::fprintf(stderr, "ssd-op: SSD_OP_PROVIDER can be \"host\", or be left out.\n");
        return kWrongUsage;
    }
    const bool asked = argc > 1 && std::string_view(argv[1]) == "--host";
    if (asked) {
        argv[1] = argv[0];
        ++argv;
        --argc;
    }
    const bool is_there = variable("SSD_OP_INSIDE") == "host";
    if (!is_there && !asked && provider.empty()) return kGoOn;
    const std::string host_program = directory + "ssd-op-host";
    std::vector<std::string> words(argv + 1, argv + argc);
    if (is_for_drives_alone(words)) {
        words.insert(words.begin(), host_program);
        return become(std::move(words));
    }
    if (!is_there) return go(directory, std::move(words));
    return begins_evaluation(words) && !nothing_is_left(host_program) ? kFailed : kGoOn;
}
