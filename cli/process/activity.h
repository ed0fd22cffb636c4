#pragma once

#include <string>

#include <sys/types.h>

namespace cli {

/// Waits for a child's end. When that takes more than a second, a line on the terminal shows that
/// something goes on, and for how long. It is on standard error, since the output may be data.
void show_activity(pid_t child, const std::string& what);

}  // namespace cli
