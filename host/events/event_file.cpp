#include "events/event_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/failure.h"
#include "core/read.h"
#include "core/text.h"

namespace host {

namespace {

using ssd_op::shared::Descriptor;

[[noreturn]] void fail(const std::string& what, const std::string& path) {
    throw Failure(what + " " + path + ": " + std::strerror(errno) + ".",
                  "Is there room, and may this user write there?");
}

Descriptor open_file(const std::string& path, int flags) {
    Descriptor file(::open(path.c_str(), flags | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file) fail("Cannot open", path);
    return file;
}

/// Held for as long as the owner lives.
Descriptor lock(const std::string& directory, int kind) {
    if (::mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST) fail("Cannot make", directory);
    Descriptor held = open_file(directory + "/lock", O_RDWR);
    while (::flock(held.get(), kind) != 0) {
        if (errno != EINTR) fail("Cannot lock", directory);
    }
    return held;
}

std::string current(const std::string& directory) { return directory + "/events.jsonl"; }
std::string older(const std::string& directory) { return directory + "/events.jsonl.1"; }

/// What a crash has cut short must not take the next line with it.
bool ends_within_line(int file, off_t size) {
    char last = '\n';
    return size > 0 && ::pread(file, &last, 1, size - 1) == 1 && last != '\n';
}

void write_line(int file, off_t size, std::string line, const std::string& path) {
    if (ends_within_line(file, size)) line.insert(0, 1, '\n');
    // One write at the end; one that is cut is the next one's to mend.
    if (::write(file, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
        fail("Cannot write", path);
}

}  // namespace

EventFile::EventFile(std::string directory, size_t limit)
    : directory_(std::move(directory)), limit_(limit) {}

void EventFile::append(const Json& event) const {
    const Descriptor held = lock(directory_, LOCK_EX);
    const std::string path = current(directory_);
    const std::string line = event.dump(-1, ' ', true, Json::error_handler_t::replace) + "\n";
    Descriptor file = open_file(path, O_RDWR | O_APPEND);
    struct stat found {};
    if (::fstat(file.get(), &found) != 0) fail("Cannot look at", path);
    if (found.st_size > 0 && static_cast<size_t>(found.st_size) + line.size() > limit_) {
        if (std::rename(path.c_str(), older(directory_).c_str()) != 0) fail("Cannot rename", path);
        file = open_file(path, O_RDWR | O_APPEND);
        found.st_size = 0;
    }
    write_line(file.get(), found.st_size, line, path);
}

std::vector<Json> EventFile::newest(size_t most) const {
    const Descriptor held = lock(directory_, LOCK_SH);
    std::vector<Json> events;
    for (const std::string& path : {current(directory_), older(directory_)}) {
        const std::string text = read_file(path, 2 * limit_).value_or("");
        const auto lines = split(text, '\n');
        for (auto line = lines.rbegin(); line != lines.rend() && events.size() < most; ++line) {
            Json event = parse_foreign(std::string(*line));
            if (event.is_object()) events.push_back(std::move(event));
        }
    }
    return events;
}

}  // namespace host
