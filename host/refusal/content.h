#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace host {

/// What libblkid recognises: a file system, a member of something, a partition table.
struct Signature {
    std::string type;   ///< as libblkid calls it: ext4, linux_raid_member, gpt
    std::string label;  ///< often empty
    std::string table;  ///< of a GPT, its GUID

    /// Of an array or a pool that may be in use without the kernel saying so.
    bool is_of_shared_storage() const;
    std::string text() const;
};

/// Every one that is there, in what an open file or block device holds. Fails in doubt.
std::vector<Signature> signatures_in(int file);

/// What of it is not the partition table with this GUID; all of it for an empty one.
std::vector<Signature> beside_table(const std::vector<Signature>& found, const std::string& guid);

/// Whether the first and the last MiB hold a byte other than 0: data without a signature is data.
bool holds_data(int file, uint64_t bytes);

}  // namespace host
