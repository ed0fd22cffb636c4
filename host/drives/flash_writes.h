#pragma once

#include <cstdint>
#include <optional>

#include "core/store.h"

namespace host {

/// Bytes that a drive has written to its flash since it was made: with what hosts have written, its
/// write amplification. None for a drive that does not count them.

/// From smartctl's answer: the numbered attributes, by the names that its list of drives gives
/// them.
std::optional<uint64_t> flash_writes_from_smartctl(const Json& answer);

/// From nvme's answer with the health log that the Open Compute Project defines for NVMe drives.
std::optional<uint64_t> flash_writes_from_ocp(const Json& answer);

}  // namespace host
