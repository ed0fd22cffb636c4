#pragma once

#include <string>
#include <string_view>

namespace ssd_op::base {

/// A value as one word of a shell command line. A value of harmless characters stands as it is;
/// anything else is quoted, so that no title, path or device name can end its word.
std::string shell_word(std::string_view value);

/// A value for a place that already stands between single or double quotes in the line.
std::string inside_single_quotes(std::string_view value);
std::string inside_double_quotes(std::string_view value);

/// A value for a place between $' and '.
std::string inside_dollar_quotes(std::string_view value);

/// Runs a line; its output goes where the line sends it. 0 when it succeeded.
int run(const std::string& line);

/// Runs a line by itself, not through the platform, and gives its wait status; -1 when it cannot be
/// run. SIGCHLD is at its default meanwhile: a caller that ignores it would make the wait fail.
int run_and_wait(const std::string& line);

/// What a line printed, up to `limit - 1` bytes, and how it ended.
struct Printed {
    int result;
    std::string text;
};
Printed run_and_read(const std::string& line, int limit);

}  // namespace ssd_op::base
