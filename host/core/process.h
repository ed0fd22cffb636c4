#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/roots.h"

namespace host {

/// When a process that lives began, in ticks since the boot: with its number that is one process,
/// the number alone may be another's by now.
std::optional<std::string> beginning_of(const Roots& roots, int64_t process);

}  // namespace host
