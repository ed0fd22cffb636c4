#include "base/plain_file.h"

#include <sys/stat.h>

namespace ssd_op::base {

namespace {

constexpr mode_t kWhatTheUmaskLeaves = 0666;

File stream_of(Descriptor descriptor, const char* mode) {
    if (!descriptor) return nullptr;
    File file(::fdopen(descriptor.get(), mode));
    if (file) descriptor.release();
    return file;
}

}  // namespace

Descriptor open_plain_file(const char* path, int flags, mode_t mode) {
    Descriptor file(::open(path, flags | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC, mode));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return Descriptor();
    return file;
}

File read_plain_file(const char* path) { return stream_of(open_plain_file(path), "r"); }

File append_to_plain_file(const char* path) {
    return stream_of(open_plain_file(path, O_WRONLY | O_APPEND | O_CREAT, kWhatTheUmaskLeaves),
                     "a");
}

bool is_plain_or_absent(const std::string& path, int64_t limit) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) return true;
    return S_ISREG(status.st_mode) && status.st_size <= limit;
}

}  // namespace ssd_op::base
