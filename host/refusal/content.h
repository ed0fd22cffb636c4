#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace host {

/// Of a drive's start and end, where whatever makes a drive its own says so.
constexpr uint64_t kEdgeBytes = 1 << 20;

/// What libblkid recognises: a file system, a member of something, a partition table.
struct Signature {
    std::string type;     ///< as libblkid calls it: ext4, linux_raid_member, gpt
    std::string label{};  ///< often empty
    std::string table{};  ///< of a GPT, its GUID
    int partition = 0;    ///< in which it is; 0: in none

    /// Of a pool that may be in use without the kernel saying so.
    bool is_of_shared_storage() const;
    std::string text() const;
};

/// Every one that is there, in what an open file or block device holds and in its partitions, by
/// the table itself, whether the kernel has read that or not. Fails in doubt.
std::vector<Signature> signatures_in(int file);

/// What of it is not ours, when the partition table with this GUID is; all of it for an empty one.
/// In our partitions, members of arrays and LVM are ours.
std::vector<Signature> not_ours(const std::vector<Signature>& found, const std::string& guid);

/// Whether the first and the last MiB hold a byte other than 0: data without a signature is data.
bool holds_data(int file, uint64_t bytes);

}  // namespace host
