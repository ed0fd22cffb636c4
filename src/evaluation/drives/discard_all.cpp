#include <algorithm>
#include <vector>

#include "base/boundary.h"
#include "base/command.h"
#include "evaluation/drives/discard.h"
#include "evaluation/drives/solid_state.h"
#include "platform/naslog.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kDiscardAll = "ssd_op_test_block_discard_disk_before_performance_test";
constexpr const char* kProbe = "nas_ssd_op_test_check_block_discard";

const DiscardOptions kWholeDevice{"-l 1 ", "-p 512 "};

uint64_t size_in_bytes(const RequestedDrive& drive) {
    const auto [enclosure, port] = shared::slot_of(drive.dev_id);
    if (drive.has_partition) {
        PART_INFO info{};
        Part_Get_Info(enclosure, port, shared::kDataPartition, &info);
        return info.size_kib * 1024;
    }
    uint64_t block_count = 0;
    uint32_t block_size = 0;
    const int result = PD_Get_Capacity(enclosure, port, &block_count, &block_size);
    return result == 0 ? block_count * block_size : 0;
}

/// A partition whose layout is of another firmware is initialised before its blocks go.
void bring_up_to_date(uint32_t dev_id) {
    const int meta_type = NAS_Disk_Check_Meta_Type(dev_id);
    if (meta_type != DISK_META_CURRENT) NAS_Disk_Fast_Init(dev_id, meta_type);
}

int discard_all(RAID_CONF* raid_list) {
    auto drives = drives_of(raid_list, kDiscardAll);
    std::erase_if(drives,
                  [](const RequestedDrive& drive) { return !is_solid_state(drive.dev_id); });
    if (drives.empty()) return -1;

    int result = 0;
    uint64_t largest = 0;
    for (const RequestedDrive& drive : drives) {
        const DriveName device = discarded_device(drive);
        result |= device.result;
        if (drive.has_partition && result == 0) bring_up_to_date(drive.dev_id);
        largest = std::max(largest, size_in_bytes(drive));
        result |= start_discard(device, kWholeDevice);
    }
    return discards_end(kDiscardAll, drives, largest >> 30) ? result : -1;
}

int probe(RAID_CONF* raid_list) {
    for (const RAID_CONF* group : groups_of(raid_list)) {
        for (const uint32_t id : members_of(*group)) {
            const auto [enclosure, port] = shared::slot_of(id);
            const bool has_partition =
                Part_Is_Exist_V2(enclosure, port, shared::kDataPartition) != 0;
            const DriveName device = discarded_device({id, has_partition});
            const std::string line = "/sbin/kblkdiscard " + base::shell_word(device.text) + " " +
                                     kWholeDevice.first_block + " &>/dev/null 2>>/dev/null";
            if (base::run(line) == 0) continue;
            SM_TRACE(SM_TRACE_ERROR, "%s: Block discard is not supported on %s!\n", kProbe,
                     device.text.c_str());
            return -1;
        }
    }
    return 0;
}

}  // namespace

int ssd_op_test_block_discard_disk_before_performance_test(RAID_CONF* raid_list) {
    return base::guarded(kDiscardAll, -1, [&] { return discard_all(raid_list); });
}

int nas_ssd_op_test_check_block_discard(RAID_CONF* raid_list) {
    return base::guarded(kProbe, -1, [&] { return probe(raid_list); });
}

}  // namespace ssd_op::evaluation
