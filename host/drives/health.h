#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/store.h"
#include "drives/drive.h"

namespace host {

/// What a drive reports of its health; none for what it does not.
struct Health {
    std::optional<int> celsius{};
    std::optional<int> wear_percent{};              ///< of the rated endurance; can be above 100
    std::optional<uint64_t> written_bytes{};        ///< by hosts, since it was made
    std::optional<uint64_t> flash_written_bytes{};  ///< to its flash, for that and for itself
    std::optional<uint64_t> power_on_hours{};
    std::string problem{};  ///< why nothing is known, with the next step; else empty
};

/// Asks nvme for an NVMe drive, and smartctl for the others, or where nvme is missing.
Health read_health(const Roots& roots, const Drive& drive);

Health health_from_nvme(const Json& answer);
Health health_from_smartctl(const Json& answer);

}  // namespace host
