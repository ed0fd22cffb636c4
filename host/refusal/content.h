#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace host {

/// What libblkid recognises: a file system, a member of something, a partition table.
struct Signature {
    std::string type;   ///< as libblkid calls it: ext4, linux_raid_member, gpt
    std::string label;  ///< often empty

    /// Of an array or a pool that may be in use without the kernel saying so.
    bool is_of_shared_storage() const;
    std::string text() const;
};

/// Every one that is there, in what an open file or block device holds. Fails in doubt.
std::vector<Signature> signatures_in(int file);

/// Whether the first and the last MiB hold a byte other than 0: data without a signature is data.
bool holds_data(int file, uint64_t bytes);

}  // namespace host
