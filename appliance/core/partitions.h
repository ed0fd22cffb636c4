#pragma once

namespace appliance {

inline constexpr int kDataPartition = 3;

/// Lays a drive out as the appliance does: partitions 1 and 2, small, for the system, and 3 for
/// data on all that is left. A drive that has its data partition stays as it is.
void partition_drive(unsigned dev_id);

}  // namespace appliance
