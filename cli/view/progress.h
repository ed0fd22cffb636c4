#pragma once

#include "model/snapshot.h"

namespace cli {

/// The overall progress of an evaluation for somebody who watches it. Each figure is computed from
/// several that change one after the other, and from one ratio to the next, or at the end of the
/// fill, a look can meet some old and some new ones. What is shown never falls, and
/// stays where it was when the evaluation is stopped.
class Progress {
  public:
    void correct(Snapshot& snapshot);

  private:
    double highest_ = 0;
};

}  // namespace cli
