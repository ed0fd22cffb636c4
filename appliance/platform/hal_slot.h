/// Drives' slots and device names inside the hardware stand-in.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace appliance {

/// The id of a drive, from the two halves by which calls name it.
inline unsigned dev_id_of(int enclosure, int port) {
    return static_cast<unsigned>(enclosure) << 16 | (static_cast<unsigned>(port) & 0xFFFFu);
}
inline int enclosure_of(unsigned dev_id) { return static_cast<int>(dev_id >> 16); }
inline int port_of(unsigned dev_id) { return static_cast<int>(dev_id & 0xFFFFu); }

inline constexpr int kWholeDrive = 0;  ///< as the number of a partition
std::optional<std::string> device_name(unsigned dev_id, int part_no);

}  // namespace appliance
