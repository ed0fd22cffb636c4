#include "evaluation/state/driver_presence.h"

#include <cerrno>
#include <cstdio>
#include <optional>
#include <sstream>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "base/boundary.h"
#include "base/owners.h"
#include "runtime/state_section.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kKey = "driver";
constexpr int kTries = 5;
constexpr int kPauseMicroseconds = 250'000;

/// A process's line of /proc: empty when there is none, nothing when that cannot be told.
std::optional<std::string> stat_of(pid_t pid) {
    const auto no_such_process = [] { return errno == ENOENT || errno == ESRCH; };
    const std::string path = "/proc/" + std::to_string(pid) + "/stat";
    const base::Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    char line[1024];
    const ssize_t size = file ? ::read(file.get(), line, sizeof line) : -1;
    if (size >= 0) return std::string(line, static_cast<size_t>(size));
    if (no_such_process()) return std::string();
    return std::nullopt;
}

/// Id and start of a process, which together no other process of this machine has, unless it was
/// started again since. Empty when there is no such process, or only its remains; nothing when that
/// cannot be told.
std::optional<std::string> mark_of(pid_t pid) {
    constexpr int kFieldsToStart = 20;  // behind the name, which may hold blanks and brackets
    std::optional<std::string> stat = stat_of(pid);
    if (!stat || stat->empty()) return stat;
    const size_t name_end = stat->rfind(')');
    if (name_end == std::string::npos) return std::nullopt;
    std::istringstream fields(stat->substr(name_end + 1));
    std::string state;
    std::string field;
    fields >> state;
    for (int i = 1; i < kFieldsToStart; ++i) fields >> field;
    if (!fields) return std::nullopt;
    return state == "Z" || state == "X" ? std::string() : std::to_string(pid) + ' ' + field;
}

Driver whose_mark(int record_no) {
    const auto announced = runtime::runtime_info(record_no).read_text(kKey);
    if (!announced) return Driver::kUnknown;
    int pid = 0;
    unsigned long long start = 0;
    if (std::sscanf(announced->c_str(), "%d %llu", &pid, &start) != 2 || pid < 1 ||
        *announced != std::to_string(pid) + ' ' + std::to_string(start))
        return Driver::kUnknown;
    const std::optional<std::string> now = mark_of(pid);
    if (!now) return Driver::kUnknown;
    return *now == *announced ? Driver::kLives : Driver::kGone;
}

}  // namespace

bool announce_driver(int record_no, pid_t pid) noexcept {
    return base::guarded(__func__, false, [&] {
        const std::optional<std::string> mark = mark_of(pid);
        if (!mark || mark->empty()) return false;
        const runtime::StateSection info = runtime::runtime_info(record_no);
        for (int tries = 1; !info.write(kKey, mark->c_str()); ++tries) {
            if (tries == kTries) return false;
            ::usleep(kPauseMicroseconds);
        }
        return true;
    });
}

Driver driver_of(int record_no) noexcept {
    return base::guarded(__func__, Driver::kUnknown, [&] { return whose_mark(record_no); });
}

}  // namespace ssd_op::evaluation
