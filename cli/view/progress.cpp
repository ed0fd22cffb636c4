#include "view/progress.h"

#include <algorithm>

namespace cli {

void Progress::correct(Snapshot& snapshot) {
    highest_ = std::max(highest_, snapshot.percent);
    snapshot.percent = highest_;
}

}  // namespace cli
