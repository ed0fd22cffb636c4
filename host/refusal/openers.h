#pragma once

#include <string>
#include <vector>

#include "core/roots.h"
#include "refusal/stack.h"

namespace host {

/// Who has a drive or a partition of it open, other than this process: "fio (process 4711)", "loop
/// device loop3". Fails when that cannot be seen of every process.
std::vector<std::string> openers_of(const Roots& roots, const std::vector<Member>& family);

}  // namespace host
