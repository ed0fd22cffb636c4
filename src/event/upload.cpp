#include "event/upload.h"

#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "base/boundary.h"
#include "base/owners.h"

namespace ssd_op::event {

namespace {

constexpr const char* kScript = "/tmp/ssd_op_upload.sh";
/// Not under /tmp, where anybody could hold it.
constexpr const char* kLock = "/etc/.sm_v2_ssd_op_upload_lock";

/// Waits a minute at the most, as the tool of another upload may hang.
bool lock(const base::Descriptor& file) {
    constexpr int kTries = 600;
    int tries = 0;
    while (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) return false;
        if (++tries == kTries) return false;
        ::usleep(100000);
    }
    return true;
}

bool write_all(int fd, const std::string& text) {
    size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = ::write(fd, text.data() + written, text.size() - written);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        written += static_cast<size_t>(count);
    }
    return true;
}

/// Creates the script as a new file: what lies under its name is removed, not opened, be it a file
/// of someone else or a link to one.
bool create_script(const std::string& text) {
    ::unlink(kScript);
    const base::Descriptor file(
        ::open(kScript, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0700));
    return file && write_all(file.get(), text);
}

void upload(const ssd_op_db_record& record) {
    const std::string script = upload_script(record);
    const base::Descriptor turn(::open(kLock, O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    // Without it, the script that is run could be one that another upload is just removing.
    if (!lock(turn)) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to lock(%s).\n", "ssd_op_analytics_upload", kLock);
        return;
    }
    if (create_script(script)) {
        // The platform's tool may belong to nobody in particular: its result has no meaning here.
        [[maybe_unused]] const int ignored = std::system(
            "/bin/chmod 755 /tmp/ssd_op_upload.sh &>/dev/null;/tmp/ssd_op_upload.sh &>/dev/null");
    }
    ::unlink(kScript);
}

}  // namespace

int ssd_op_analytics_upload(const ssd_op_db_record* record) {
    return base::guarded(__func__, 0, [&] {
        if (record != nullptr) upload(*record);
        return 0;
    });
}

}  // namespace ssd_op::event
