#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host {

/// A text from a drive, a file or another user as it may stand on a terminal: whatever is not plain
/// ASCII becomes \xNN, and what is beyond 200 characters is left out.
std::string printable(std::string_view text);

/// Without blanks, line ends and NUL at its ends.
std::string_view trimmed(std::string_view text);

std::vector<std::string_view> split(std::string_view text, char separator);

/// A path as the kernel writes it into its tables, where blanks are \040.
std::string unescaped(std::string_view text);

/// With three figures and a unit of 1000: "480 GB".
std::string size_text(double bytes);

}  // namespace host
