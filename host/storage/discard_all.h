#pragma once

#include <cstdint>

namespace host {

/// Discards all of a drive, in pieces, so that this program can be ended between them. A drive that
/// fails it keeps old data where nothing points at, which does no harm to anybody but the drive.
void discard_all(int file, uint64_t bytes);

}  // namespace host
