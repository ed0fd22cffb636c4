/// Base room: what every other room needs and nothing about evaluations. It turns platform calls
/// into C++ (traces, commands, children, owners of resources) and may use the platform and the
/// shared room only.
#pragma once

#include "platform/naslog.h"

namespace ssd_op::base {

/// Where a message comes from. Made of a function's name, it has the line that names it.
struct Caller {
    Caller(const char* name, int named_in = __builtin_LINE()) : function(name), line(named_in) {}
    const char* function;
    int line;
};

/// The one message for a failed allocation.
inline void trace_out_of_memory(Caller caller) {
    SM_TRACE(SM_TRACE_ERROR, "%s:out of memory(line:%d)!!\n", caller.function, caller.line);
}

}  // namespace ssd_op::base
