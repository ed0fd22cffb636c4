#include "storage/zeroing.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include <fmt/format.h>
#include <unistd.h>

#include "core/failure.h"
#include "core/whole.h"
#include "refusal/content.h"

namespace host {

namespace {

void zero(int file, uint64_t from, uint64_t bytes) {
    if (!write_whole_at(file, std::string(bytes, '\0'), from))
        throw Failure(fmt::format("The drive cannot be written: {}.", std::strerror(errno)),
                      "Look for I/O errors with dmesg.");
}

}  // namespace

void zero_edges(int file, uint64_t from, uint64_t bytes) {
    const uint64_t edge = std::min(bytes, kEdgeBytes);
    zero(file, from, edge);
    zero(file, from + bytes - edge, edge);
}

void sync(int file) {
    if (::fsync(file) != 0)
        throw Failure(fmt::format("The drive cannot be synced: {}.", std::strerror(errno)),
                      "Look for I/O errors with dmesg.");
}

void zero_table(int file, uint64_t drive_bytes, uint32_t block_bytes) {
    const uint64_t edge = std::min(drive_bytes, kEdgeBytes);
    zero(file, drive_bytes - edge, edge);  // its copy
    sync(file);
    // Without the GPT behind it, what is in the first block would be a table of the old kind.
    zero(file, 0, std::min<uint64_t>(edge, block_bytes));
    sync(file);
    zero(file, 0, edge);
    sync(file);
}

}  // namespace host
