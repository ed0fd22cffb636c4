/// Traces: one line for each call in one file, whoever writes.
///
/// A trace is no journal row and suffers no faults: the library traces on every path, and what is
/// looked for in the journal would drown.

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <fmt/format.h>
#include <time.h>
#include <unistd.h>

#include "platform/naslog.h"

namespace {

constexpr const char* kTraceFile = "/var/log/sm_trace.log";
constexpr size_t kLongestText = 16'384;

/// The line end that a trace usually carries goes; one inside the text is shown as \n.
std::string as_one_line(std::string_view text) {
    const size_t end = text.find_last_not_of("\r\n");
    std::string line;
    for (const char c : text.substr(0, end == std::string_view::npos ? 0 : end + 1)) {
        if (c == '\n')
            line += "\\n";
        else
            line += c;
    }
    return line;
}

/// One write at the file's end, so that lines of several processes do not mix.
void append(const std::string& line) {
    const int fd = ::open(kTraceFile, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0) return;
    if (::write(fd, line.data(), line.size()) < 0) {
        // There is no place to report to: this is the place.
    }
    ::close(fd);
}

}  // namespace

void SM_TRACE(int level, const char* format, ...) {
    const int callers_errno = errno;
    char text[kLongestText];
    va_list values;
    va_start(values, format);
    const bool formatted = std::vsnprintf(text, sizeof(text), format, values) >= 0;
    va_end(values);
    try {
        timespec now{};
        ::clock_gettime(CLOCK_REALTIME, &now);
        append(fmt::format("{}.{:03} {} {} {}\n", now.tv_sec, now.tv_nsec / 1'000'000, ::getpid(),
                           level, as_one_line(formatted ? text : format)));
    } catch (const std::exception&) {
        // A lost trace must not cost the caller its work.
    }
    errno = callers_errno;
}
