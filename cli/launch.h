#pragma once

#include <sys/types.h>

#include "plan.h"

namespace cli {

/// An evaluation under way in a session of its own: neither a closed terminal nor Ctrl-C ends it.
class Launched {
  public:
    Launched(int record_no, pid_t keeper) : record_no_(record_no), keeper_(keeper) {}
    int record_no() const { return record_no_; }
    /// True once its process is gone, whatever has become of the record.
    bool has_ended();

  private:
    int record_no_;
    pid_t keeper_;  // lives as long as the evaluation's process, when that is followed
};

/// Starts the plan's evaluation. Only when it is followed can its end be noticed.
/// @throws Failure when the library refuses
Launched launch(const Plan& plan, bool followed);

/// Remembers where the program's arguments lie, to blank them in the evaluation's process: stopping
/// a test searches the process list for names of programs and drives, and must not find them there.
void remember_arguments(int count, char** arguments);

}  // namespace cli
