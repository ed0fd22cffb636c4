#pragma once

#include <string>
#include <vector>

#include "drives/partition.h"
#include "storage/mdadm.h"
#include "storage/record.h"

namespace host {

/// The data partition of a drive that an array of ours has or gets.
struct OurMember {
    std::string serial;
    Partition partition;
    bool is_readable = true;  ///< false: the drive is broken, and whose table it has is not known
};

/// Of those of the drives that are there and that have our layout.
std::vector<OurMember> members_there(const Roots& roots, const UndoList& undo,
                                     const std::vector<std::string>& serials);

/// The same, for the removal of an array: one broken drive must not keep the others. Of a drive
/// that was taken and cannot be read, it is the partition that the kernel has in its place.
std::vector<OurMember> members_to_free(const Roots& roots, const UndoList& undo,
                                       const std::vector<std::string>& serials);

bool has_only(const MdArray& array, const std::vector<OurMember>& members);

}  // namespace host
