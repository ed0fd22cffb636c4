#include "support/crash.h"

#include <stdexcept>

#include "support/traced.h"

namespace support {

bool killed_at_change(int n, const std::string& in_path, const std::function<void()>& body) {
    Traced child(body, Traced::Stops::kNotAtReads);
    for (int change = 1; child.next_change(in_path); ++change) {
        if (change == n) return true;  // and it is killed here
    }
    if (!child.came_through()) throw std::runtime_error("the child ended badly");
    return false;
}

int kill_at_every_change(const std::string& in_path, const std::function<void()>& before,
                         const std::function<void()>& body, const std::function<void()>& after) {
    for (int n = 1;; ++n) {
        before();
        const bool killed = killed_at_change(n, in_path, body);
        after();
        if (!killed) return n - 1;
    }
}

}  // namespace support
