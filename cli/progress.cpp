#include "progress.h"

#include <algorithm>

namespace cli {

namespace {

constexpr double kNotDone = 99.9;

}  // namespace

void Progress::correct(Snapshot& snapshot) {
    if (snapshot.status == SSD_OP_TEST_STATUS_COMPLETED)
        highest_ = 100;
    else if (is_running(snapshot.status))
        highest_ = std::max(highest_, std::min(snapshot.percent, kNotDone));
    snapshot.percent = highest_;
}

}  // namespace cli
