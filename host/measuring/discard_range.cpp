#include "measuring/discard_range.h"

#include <limits>

namespace host {

Range inward(const Range& range, const DiscardUnit& unit) {
    if (unit.bytes == 0) return {};
    const uint64_t first = unit.alignment % unit.bytes;
    const uint64_t end = range.offset + range.length;
    if (end < range.offset || end < first) return {};
    uint64_t begin = first;
    if (range.offset > first) {
        const uint64_t past = (range.offset - first) % unit.bytes;
        const uint64_t step = past == 0 ? 0 : unit.bytes - past;
        if (step > std::numeric_limits<uint64_t>::max() - range.offset) return {};
        begin = range.offset + step;
    }
    const uint64_t last = end - (end - first) % unit.bytes;
    return last > begin ? Range{begin, last - begin} : Range{};
}

}  // namespace host
