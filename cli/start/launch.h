#pragma once

#include "start/plan.h"

namespace cli {

/// Starts the plan's evaluation in a session of its own: neither a closed terminal nor Ctrl-C ends
/// it.
/// @return the record's number
/// @throws Failure when the library refuses
int launch(const Plan& plan);

/// Remembers where the program's arguments lie, to blank them in the evaluation's process: stopping
/// a test searches the process list for names of programs and drives, and must not find them there.
void remember_arguments(int count, char** arguments);

}  // namespace cli
