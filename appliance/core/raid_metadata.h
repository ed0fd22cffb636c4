#pragma once

#include <cstdint>

namespace appliance {

/// At the end of each member's data partition, kept for a group's metadata.
inline constexpr uint64_t kRaidMetadataKib = uint64_t{32} * 1024;

}  // namespace appliance
