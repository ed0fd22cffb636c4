#pragma once

#include <vector>

namespace cli {

/// The one evaluation that runs.
/// @throws Failure when none does, or several, telling which
int only_running();

/// Works with databases of all versions.
/// @throws Failure when one of the records is running: it has to be stopped first
void refuse_running(const std::vector<int>& record_nos, const char* what);

/// For whatever drops records: without its record, nobody could stop an evaluation, or tell whose
/// storage is left.
/// @throws Failure when one of the records runs, is still closing, or has left storage
void refuse_held(const std::vector<int>& record_nos, const char* what);

/// How many records are kept.
int load_limit();

/// The oldest records that a limit has no room for, once so many have been added.
std::vector<int> beyond(int limit, int added = 0);

/// The records that the limit drops when one is added.
/// @throws Failure when one of them must not be dropped
std::vector<int> dropped_by_start();

}  // namespace cli
