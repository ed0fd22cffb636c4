#pragma once

#include <cstdint>

namespace host {

// On an open drive. All fail when the drive does.

/// The first and the last MiB of a part of it.
void zero_edges(int file, uint64_t from, uint64_t bytes);

/// The same of a whole drive with a partition table, in an order in which the table can be told to
/// be ours, or is no table any more, whenever the power is cut.
void zero_table(int file, uint64_t drive_bytes, uint32_t block_bytes);

void sync(int file);

}  // namespace host
