#pragma once

#include <string>
#include <vector>

#include "core/roots.h"
#include "refusal/stack.h"

namespace host {

/// Who has a drive or a partition of it open, other than this process: "fio (process 4711)", "loop
/// device loop3". Counted are the block devices, SCSI's generic ones (/dev/sg0, /dev/bsg) and those
/// of NVMe namespaces (/dev/ng0n1), as a guest or a fast program has them. Not those of NVMe
/// controllers (/dev/nvme0), which monitors open all the time to ask for health. Fails when that
/// cannot be seen of every process.
std::vector<std::string> openers_of(const Roots& roots, const std::vector<Member>& family);

}  // namespace host
