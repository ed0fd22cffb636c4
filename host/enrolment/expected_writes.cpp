#include "enrolment/expected_writes.h"

#include <algorithm>

namespace host {

uint64_t least_writes(uint64_t drive_bytes, std::span<const int> ratios) {
    uint64_t sum = 0;
    for (const int ratio : ratios) {
        const auto left = static_cast<uint64_t>(100 - std::clamp(ratio, 0, 100));
        sum += drive_bytes / 100 * left * kPreconditioningPasses;
    }
    return sum;
}

std::optional<double> rated_writes(const Health& health) {
    if (!health.wear_percent || *health.wear_percent < 1 || !health.written_bytes ||
        *health.written_bytes == 0)
        return std::nullopt;
    return static_cast<double>(*health.written_bytes) * 100 / *health.wear_percent;
}

}  // namespace host
