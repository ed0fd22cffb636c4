#include "core/capture.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "shared/descriptor.h"

namespace host {

namespace {

using Clock = std::chrono::steady_clock;

int left_until(Clock::time_point until) {
    constexpr std::chrono::milliseconds kLongest{std::chrono::hours(1)};
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now());
    return static_cast<int>(std::clamp(left, std::chrono::milliseconds(0), kLongest).count());
}

}  // namespace

void Capture::read_some() {
    std::array<char, 16384> block;
    const ssize_t got = ::read(source_, block.data(), block.size());
    if (got < 0 && (errno == EINTR || errno == EAGAIN)) return;
    if (got <= 0) {
        source_ = -1;
        return;
    }
    const size_t kept = std::min(static_cast<size_t>(got), limit_ - text_.size());
    text_.append(block.data(), kept);
    overflowed_ = overflowed_ || kept < static_cast<size_t>(got);
}

bool capture_until_end(pid_t child, Capture& output, Capture& complaint,
                       std::chrono::milliseconds most_time) {
    // glibc before 2.36 has no name for it.
    const ssd_op::shared::Descriptor process(static_cast<int>(::syscall(SYS_pidfd_open, child, 0)));
    const auto until = Clock::now() + most_time;
    bool ended = false;
    while (!output.overflowed()) {
        std::array<pollfd, 3> ready{{{output.source(), POLLIN, 0},
                                     {complaint.source(), POLLIN, 0},
                                     {process.get(), POLLIN, 0}}};
        const bool streams_ended = output.source() < 0 && complaint.source() < 0;
        if (streams_ended && (ended || !process)) return true;
        const int polled = ::poll(ready.data(), ended ? 2 : 3, ended ? 0 : left_until(until));
        if (polled < 0 && errno == EINTR) continue;
        if (polled < 0) return false;
        if (polled == 0 && (ended || left_until(until) == 0)) return ended;
        if (ready[0].revents != 0) output.read_some();
        if (ready[1].revents != 0) complaint.read_some();
        ended = ended || ready[2].revents != 0;
    }
    return false;
}

}  // namespace host
