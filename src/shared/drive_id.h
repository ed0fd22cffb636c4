#pragma once

#include <cstdint>

namespace ssd_op::shared {

constexpr int kDataPartition = 3;

/// The slot that a drive id names, as the platform's calls want it: enclosure first.
struct Slot {
    int enclosure;
    int port;
};

constexpr Slot slot_of(uint32_t drive_id) {
    return {static_cast<int>(drive_id >> 16), static_cast<int>(drive_id & 0xFFFFU)};
}

}  // namespace ssd_op::shared
