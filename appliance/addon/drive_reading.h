#pragma once

#include <cstdint>
#include <optional>

namespace appliance::addon {

/// What the drives of a record's test storage report about themselves.
struct DriveReading {
    uint64_t host_written_kib = 0;   ///< sum over the drives
    uint64_t flash_written_kib = 0;  ///< sum over the drives
    int hottest = 0;                 ///< highest temperature, degrees Celsius
};

/// Reads the SMART data of the record's drives. A drive that gives none is left out.
/// @return nothing when there is no such record
std::optional<DriveReading> read_drives(int record_no);

}  // namespace appliance::addon
