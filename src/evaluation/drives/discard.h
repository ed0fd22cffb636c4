#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "evaluation/drives/drive_name.h"
#include "evaluation/drives/groups.h"

namespace ssd_op::evaluation {

/// What a drive-level discard tells the tool for every drive. One block goes first, so that a drive
/// which takes no discards is found at once; the rest is discarded in the background, on all drives
/// at the same time.
struct DiscardOptions {
    std::string first_block;
    std::string range;
};

/// The device that is discarded: the data partition, or the whole drive where there is none.
DriveName discarded_device(const RequestedDrive& drive);

/// Starts the discard of one device. Returns the OR of the results of the name's look-up, of the
/// first block and of the start; a device without a name gets no tool run.
int start_discard(const DriveName& device, const DiscardOptions& options);

/// Waits until no discard of the drives runs any more: one second for each of `max_gib`.
/// When the time is over, the discards are killed. Messages go out under `function`'s name.
/// @return false when the time was over. As a discard's end is only believed in before that, a
///         drive below 2 GiB always runs out of time.
bool discards_end(const char* function, std::span<const RequestedDrive> drives, uint64_t max_gib);

/// Discards the top `over_provisioning` percent (0 to 100) of the data partitions of the
/// solid-state drives among `dev_ids`, all cut at the same offset of the smallest partition, and
/// waits. 0 percent discards everything but 16 MiB at each end.
/// @return 0; -1 no drive, no solid-state drive, no known partition size, a ratio outside 0 to 100
///         or a range of no length, time over; otherwise the OR of the results of look-ups and runs
int ssd_op_test_block_discard_disk(const unsigned* dev_ids, int count, float over_provisioning);

/// Discards all blocks of the solid-state drives of a request before they are measured: the data
/// partition, or the whole drive where there is none.
/// @return 0; -1 no solid-state drive or time over; otherwise the OR of the failed results
int ssd_op_test_block_discard_disk_before_performance_test(RAID_CONF* raid_list);

/// Whether every member drive of a request takes a discard: 0, or -1 at the first that does not.
int nas_ssd_op_test_check_block_discard(RAID_CONF* raid_list);

}  // namespace ssd_op::evaluation
