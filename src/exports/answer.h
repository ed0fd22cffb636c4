/// Exports: the C interface, a file for each group of the header. A function checks its arguments,
/// calls the room that does the work and puts the outcome into the interface's numbers. This room
/// is the topmost: nobody inside calls it.
#pragma once

#include <optional>

#include "base/boundary.h"

namespace ssd_op::exports {

inline int answer(bool done) { return done ? 0 : -1; }
inline int answer(std::optional<int> number) { return number.value_or(-1); }

inline int parameter_error(const char* function) {
    SM_TRACE(SM_TRACE_ERROR, "%s: Parameter error.\n", function);
    return -1;
}

inline int no_input(const char* function) {
    SM_TRACE(SM_TRACE_ERROR, "%s: The input record is NULL.\n", function);
    return -1;
}

}  // namespace ssd_op::exports
