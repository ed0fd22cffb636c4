#pragma once

#include <cstdint>

namespace appliance {

/// At the end of each member's data partition, kept for a group's metadata. Who discards what a
/// volume leaves free of a member stops here.
inline constexpr uint64_t kRaidMetadataKib = uint64_t{16} * 1024;

}  // namespace appliance
