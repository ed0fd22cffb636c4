/// Output room: how things look, on a terminal, in a table, in a plot or as JSON, and how a command
/// fails. It knows nothing of evaluations, and uses neither the library nor the platform.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

namespace cli {

/// Text from outside (a title, a drive's identity) for a terminal: control characters, which could
/// move the cursor or change its colours, and bytes that are not UTF-8 are shown as \x1b and the
/// like.
std::string printable(std::string_view text);

/// A text of ours that names commands ("ssd-op stop 3"), as they are to be typed here.
std::string as_called(std::string text);

/// Columns that a text takes on a terminal, one for each character of UTF-8.
size_t columns(std::string_view text);

/// As much of a text as has room in so many columns.
std::string cut(std::string_view text, size_t width);

constexpr uint64_t kKib = 1024;
constexpr uint64_t kMib = 1024 * kKib;

std::string size_text(uint64_t bytes);      // "64.0 GB", in steps of 1000 as on a drive's label
std::string duration_text(double seconds);  // "1 h 12 min"
std::string moment_text(time_t moment);     // "2024-01-31 14:05:09", local time
std::string count_text(size_t count, std::string_view noun);  // "1 drive", "4 drives"

}  // namespace cli
