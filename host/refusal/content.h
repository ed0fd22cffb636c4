#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace host {

/// Of a drive's start and end, where whatever makes a drive its own says so.
constexpr uint64_t kEdgeBytes = 1 << 20;

/// What libblkid recognises: a file system, a member of something, a partition table.
struct Signature {
    std::string type;   ///< as libblkid calls it: ext4, linux_raid_member, gpt
    std::string label;  ///< often empty
    std::string table;  ///< of a partition table, its GUID or number

    /// Of an array or a pool that may be in use without the kernel saying so.
    bool is_of_shared_storage() const;
    std::string text() const;
};

/// Every one that is there, in what an open file or block device holds, or in a part of it. Fails
/// in doubt.
/// @param bytes 0: all to the end
std::vector<Signature> signatures_in(int file, uint64_t from = 0, uint64_t bytes = 0);

/// Whether the first and the last MiB hold a byte other than 0: data without a signature is data.
bool holds_data(int file, uint64_t bytes);

}  // namespace host
