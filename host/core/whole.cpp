#include "core/whole.h"

#include <cerrno>

#include <unistd.h>

namespace host {

namespace {

/// @param step moves what is left from a point on
template <typename Step>
bool whole(size_t length, Step&& step) {
    size_t done = 0;
    while (done < length) {
        const ssize_t moved = step(done);
        if (moved < 0 && errno == EINTR) continue;
        if (moved == 0) errno = EIO;
        if (moved <= 0) return false;
        done += static_cast<size_t>(moved);
    }
    return true;
}

}  // namespace

bool write_whole(int file, std::string_view data) {
    return whole(data.size(), [&](size_t done) {
        return ::write(file, data.data() + done, data.size() - done);
    });
}

bool write_whole_at(int file, std::string_view data, uint64_t place) {
    return whole(data.size(), [&](size_t done) {
        return ::pwrite(file, data.data() + done, data.size() - done,
                        static_cast<off_t>(place + done));
    });
}

bool read_whole_at(int file, char* data, size_t length, uint64_t place) {
    return whole(length, [&](size_t done) {
        return ::pread(file, data + done, length - done, static_cast<off_t>(place + done));
    });
}

}  // namespace host
