#include <algorithm>
#include <optional>
#include <vector>

#include "base/boundary.h"
#include "base/number.h"
#include "evaluation/drives/discard.h"
#include "evaluation/drives/solid_state.h"
#include "platform/naslog.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kFunction = "ssd_op_test_block_discard_disk";
/// Left alone at each end of a partition, in MiB.
constexpr uint64_t kMarginMib = 16;

struct PartitionSizes {
    uint64_t smallest_kib = 0;  // of those that have a size
    uint64_t largest_kib = 0;
};

PartitionSizes sizes_of(const std::vector<RequestedDrive>& drives) {
    PartitionSizes sizes;
    for (const RequestedDrive& drive : drives) {
        const auto [enclosure, port] = shared::slot_of(drive.dev_id);
        PART_INFO info{};
        if (Part_Get_Info(enclosure, port, shared::kDataPartition, &info) != 0) continue;
        if (info.size_kib == 0) continue;
        if (sizes.smallest_kib == 0 || info.size_kib < sizes.smallest_kib)
            sizes.smallest_kib = info.size_kib;
        sizes.largest_kib = std::max(sizes.largest_kib, info.size_kib);
    }
    return sizes;
}

/// Start and length in MiB of what is given back to the drives.
struct Range {
    uint64_t offset;
    uint64_t length;
};

/// None when the ratio is no ratio or so small a partition leaves nothing between the margins.
std::optional<Range> range_of(uint64_t partition_mib, float over_provisioning) {
    if (!(over_provisioning >= 0.0F && over_provisioning <= 100.0F)) return std::nullopt;
    const double kept = static_cast<double>(partition_mib) *
                        (100.0 - static_cast<double>(over_provisioning)) / 100.0;
    const uint64_t offset = over_provisioning == 0.0F ? kMarginMib : static_cast<uint64_t>(kept);
    if (offset + kMarginMib >= partition_mib) return std::nullopt;
    return Range{offset, partition_mib - kMarginMib - offset};
}

std::vector<RequestedDrive> solid_state_drives(const unsigned* dev_ids, int count) {
    std::vector<RequestedDrive> drives;
    for (int i = 0; i < count; ++i) {
        if (is_solid_state(dev_ids[i])) drives.push_back({dev_ids[i], true});
    }
    return drives;
}

int discard_tails(const unsigned* dev_ids, int count, float over_provisioning) {
    SM_TRACE(SM_TRACE_ERROR, "%s: over_provisioning: %s.\n", kFunction,
             base::decimal_text(over_provisioning, 2).c_str());
    if (count < 1) return -1;
    const auto drives = solid_state_drives(dev_ids, count);
    if (drives.empty()) return -1;

    const PartitionSizes sizes = sizes_of(drives);
    const auto range = range_of(sizes.smallest_kib >> 10, over_provisioning);
    if (!range) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Nothing to discard: smallest partition %llu MiB.\n",
                 kFunction, static_cast<unsigned long long>(sizes.smallest_kib >> 10));
        return -1;
    }
    const std::string at = "-o " + std::to_string(range->offset);
    const DiscardOptions options{at + " -l 1",
                                 "-p 512 " + at + " -l " + std::to_string(range->length)};
    int result = 0;
    for (const RequestedDrive& drive : drives)
        result |= start_discard(discarded_device(drive), options);

    SM_TRACE(SM_TRACE_INFO, "%s: min_size: %llu GB.\n", kFunction,
             static_cast<unsigned long long>(sizes.smallest_kib >> 20));
    return discards_end(kFunction, drives, sizes.largest_kib >> 20) ? result : -1;
}

}  // namespace

int ssd_op_test_block_discard_disk(const unsigned* dev_ids, int count, float over_provisioning) {
    return base::guarded(kFunction, -1,
                         [&] { return discard_tails(dev_ids, count, over_provisioning); });
}

}  // namespace ssd_op::evaluation
