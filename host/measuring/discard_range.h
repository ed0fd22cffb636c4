#pragma once

#include <cstdint>

namespace host {

/// Of a device, in bytes.
struct Range {
    uint64_t offset = 0;
    uint64_t length = 0;
    bool operator==(const Range&) const = default;
};

/// What a device can give back, and where: in whole units, the first of which begins at
/// `alignment`.
struct DiscardUnit {
    uint64_t bytes = 512;
    uint64_t alignment = 0;
};

/// The whole units in a range; often less than it, never more. Length 0 when there is none.
Range inward(const Range& range, const DiscardUnit& unit);

}  // namespace host
