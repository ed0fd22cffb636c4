#include "report/output.h"

#include <cerrno>

#include <unistd.h>

namespace ssd_op::report {

void Output::write(std::string_view text) {
    while (intact_ && !text.empty()) {
        const ssize_t written = ::write(descriptor_, text.data(), text.size());
        if (written >= 0)
            text.remove_prefix(static_cast<size_t>(written));
        else if (errno != EINTR)
            intact_ = false;
    }
}

}  // namespace ssd_op::report
