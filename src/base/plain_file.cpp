#include "base/plain_file.h"

#include <sys/stat.h>

namespace ssd_op::base {

Descriptor open_plain_file(const char* path, int flags, mode_t mode) {
    Descriptor file(::open(path, flags | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC, mode));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return Descriptor();
    return file;
}

}  // namespace ssd_op::base
