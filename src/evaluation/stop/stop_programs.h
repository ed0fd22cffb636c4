#pragma once

#include <string>

namespace ssd_op::evaluation {

/// What killing the processes of a program list came to.
struct Killed {
    int result = 0;              ///< OR of each program's last kill; 0: none is left
    bool found_at_once = false;  ///< a program's first look found a process, which is gone
};

/// Kills, for each program of the list, the processes whose line in the process list holds both the
/// program's name and the term (ProcessList). A process that keeps coming back is killed up to ten
/// times. An empty term kills nothing.
/// @param programs  NULL-terminated
Killed kill_programs(const char* const programs[], const std::string& term);

/// The result of kill_programs alone.
int ssd_op_test_stop_progs(const char* const programs[], const char* term);

}  // namespace ssd_op::evaluation
