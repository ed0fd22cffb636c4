/// Processes that die in the middle of their work, at a place that can be chosen.
#pragma once

#include <functional>
#include <string>

namespace support {

/// Runs a function in a child that is killed (SIGKILL) right before its n-th system call that
/// makes, writes to, resizes, links, renames or removes a file whose path holds `in_path`, n from
/// 1. What it started is killed with it.
///
/// @return whether it came to that; false: the function had fewer such calls and ended by itself
/// @throws std::runtime_error when the child cannot be watched
bool killed_at_change(int n, const std::string& in_path, const std::function<void()>& body);

/// Kills the function at its first such call, then at its second, and so on, until it comes
/// through; `before` makes the scene for each try and `after` looks at it. How often it was killed.
int kill_at_every_change(const std::string& in_path, const std::function<void()>& before,
                         const std::function<void()>& body, const std::function<void()>& after);

}  // namespace support
