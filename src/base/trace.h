/// Base room: what every other room needs and nothing about evaluations. It turns platform calls
/// into C++ (traces, commands, children, owners of resources) and may use the platform only.
#pragma once

#include "platform/naslog.h"

namespace ssd_op::base {

/// The one message for a failed allocation; `line` is the caller's __LINE__.
inline void trace_out_of_memory(const char* function, int line) {
    SM_TRACE(SM_TRACE_ERROR, "%s:out of memory(line:%d)!!\n", function, line);
}

}  // namespace ssd_op::base
