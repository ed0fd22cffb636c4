/// View room: an evaluation that runs, or its record, for somebody who looks at it.
#pragma once

#include "model/snapshot.h"
#include "view/live_view.h"

namespace cli {

struct Watched {
    Snapshot last;
    bool interrupted = false;  // with Ctrl-C: the evaluation goes on
};

/// Shows an evaluation in a view until it has ended, its driver included, or until Ctrl-C.
/// @throws Failure when there is no such record
Watched watch(int record_no, View& view);

/// @throws Failure unless the evaluation has completed
void report_end(const Watched& watched);

}  // namespace cli
