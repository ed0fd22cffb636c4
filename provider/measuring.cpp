#include "provider/measuring.h"

#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int kFailure = -1;
constexpr int kWholeDrive = 0;

/// Runs the work in a process that belongs to nobody.
int detach(const std::function<int()>& work) {
    const pid_t child = ::fork();
    if (child < 0) return kFailure;
    if (child == 0) {
        ::setsid();
        if (::fork() == 0) work();
        ::_exit(0);
    }
    ::waitpid(child, nullptr, 0);
    return 0;
}

}  // namespace

int provider::measure_each(const unsigned* dev_ids, int count, const int* part_nos, bool background,
                           const std::function<int(unsigned dev_id, int part_no)>& measure) {
    if (count > 0 && dev_ids == nullptr) return kFailure;
    int result = 0;
    for (int drive = 0; drive < count; ++drive) {
        const int part_no = part_nos != nullptr ? part_nos[drive] : kWholeDrive;
        const auto work = [&] { return measure(dev_ids[drive], part_no); };
        result |= background ? detach(work) : work();
    }
    return result;
}
