#pragma once

#include <cstdint>

namespace host {

/// Writes data to each MiB of an open device, up to `bytes` of it, that holds nothing but zeros,
/// for a drive answers reads of what it does not hold without opening its flash.
void write_what_is_empty(int file, uint64_t bytes);

}  // namespace host
