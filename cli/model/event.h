#pragma once

#include <string>
#include <vector>

#include "platform/naslog.h"

namespace cli {

constexpr int kMostEvents = 10'000;  // that are looked at

/// The newest events of the appliance's log, oldest first.
/// @throws Failure when the log cannot be read
std::vector<NASLOG_EVENT> load_events(int count);

/// "warning" and so on.
std::string type_word(const NASLOG_EVENT& event);

}  // namespace cli
