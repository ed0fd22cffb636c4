#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ssd_op::evaluation {

/// Whether a line of fio's output is its summary of the writes.
bool is_write_summary(std::string_view line);

/// The figures of a summary line such as
///     write: io=1024.0MB, bw=52345KB/s, iops=13086, runt= 20001msec
/// as the text to store, or none when the line lacks the figure or has no number there.
///
/// The rate is in bytes a second: a whole number (a fraction is dropped) of at most 2^31 - 1, times
/// the unit GB, MB or KB in steps of 1024. A negative number counts as 0.
std::optional<std::string> write_rate(std::string_view line);
std::optional<std::string> write_iops(std::string_view line);

}  // namespace ssd_op::evaluation
