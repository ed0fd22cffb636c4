#include "process/activity.h"

#include <cerrno>
#include <chrono>
#include <cstdio>

#include <fmt/format.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "output/text.h"

namespace cli {

namespace {

using Clock = std::chrono::steady_clock;

constexpr timespec kLook{0, 50'000'000};
constexpr int kTrack = 20;  // places of the mark that runs to and fro

std::string track(int look) {
    const int way = look % (2 * (kTrack - 1));
    std::string text(kTrack, ' ');
    text[static_cast<size_t>(way < kTrack ? way : 2 * (kTrack - 1) - way)] = '=';
    return text;
}

bool has_ended(pid_t child) {
    const pid_t ended = ::waitpid(child, nullptr, WNOHANG);
    return ended == child || (ended < 0 && errno != EINTR);
}

}  // namespace

void show_activity(pid_t child, const std::string& what) {
    const bool terminal = ::isatty(STDERR_FILENO) == 1;
    const auto start = Clock::now();
    bool shown = false;
    for (int look = 0; !has_ended(child); ++look) {
        const std::chrono::duration<double> passed = Clock::now() - start;
        if (terminal && passed.count() > 1) {
            fmt::print(stderr, "\r{} [{}] {}\x1b[K", what, track(look),
                       duration_text(passed.count()));
            std::fflush(stderr);
            shown = true;
        }
        ::nanosleep(&kLook, nullptr);
    }
    if (shown) fmt::print(stderr, "\r\x1b[K");
}

}  // namespace cli
