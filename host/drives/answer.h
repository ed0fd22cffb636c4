#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/store.h"

namespace host {

/// The value under a path like "temperature/current" of a tool's answer; null for none.
const Json& at(const Json& answer, const std::string& path);

/// A count, which tools write as a number, or as text where it may have 128 bits.
std::optional<uint64_t> count(const Json& value);

/// None also for what is too large to tell.
std::optional<uint64_t> times(std::optional<uint64_t> units, uint64_t unit);

}  // namespace host
