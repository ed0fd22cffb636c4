#pragma once

#include <optional>

namespace ssd_op::runtime {

using Seconds = unsigned long long;

/// The test script's "1d:2h:3m:4s", or the same from a smaller unit on; nothing for other texts.
std::optional<Seconds> parse_time_left(const char* text);

}  // namespace ssd_op::runtime
