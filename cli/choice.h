#pragma once

#include <vector>

namespace cli {

/// Numbers of the evaluations that run, ascending. Works with databases of all versions.
std::vector<int> running_record_nos();

/// The one evaluation that runs.
/// @throws Failure when none does, or several, telling which
int only_running();

/// @throws Failure when one of the records is running: it has to be stopped before it is deleted
void refuse_running(const std::vector<int>& record_nos, const char* what);

}  // namespace cli
