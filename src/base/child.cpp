#include "base/child.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ssd_op::base {

void standard_streams_to_null() {
    const int null = ::open("/dev/null", O_RDWR);
    if (null < 0) return;
    for (int stream = 0; stream <= 2; ++stream) {
        if (stream != null) ::dup2(null, stream);
    }
    if (null > 2) ::close(null);
}

Fork fork_process(bool detach_streams) {
    const Fork side(::fork());
    if (side.in_child() && detach_streams) standard_streams_to_null();
    return side;
}

int Child::wait() {
    const pid_t pid = std::exchange(pid_, -1);
    if (pid <= 0) return 0;
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

}  // namespace ssd_op::base
