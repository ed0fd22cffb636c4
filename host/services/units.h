/// Services room: the units of systemd that the administrator wants stopped while storage is made.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "core/roots.h"
#include "core/tool.h"

namespace host {

/// Runs a program; run_tool, but for a look at what would be run.
using Run = std::function<ToolOutput(const std::vector<std::string>& words)>;

ToolOutput run_on_host(const std::vector<std::string>& words);

/// Stops those units of the settings that run, each noted in the undo list before.
/// @throws Failure when one could not be stopped; those before it stay stopped, and noted
void stop_units(const Roots& roots, const Run& run = run_on_host);

/// Starts what the undo list says was stopped, and nothing else; returns how many units that were.
/// @throws Failure when one could not be started, which stays noted; the others are tried, too
size_t start_units(const Roots& roots, const Run& run = run_on_host);

}  // namespace host
