#pragma once

#include <new>
#include <utility>

#include "base/trace.h"

namespace ssd_op::base {

/// What an exported function wraps its inside in: no exception leaves the library. A failed
/// allocation becomes the out-of-memory message and `failure`.
template <typename Result, typename Inside>
Result guarded(Caller caller, Result failure, Inside&& inside) noexcept {
    try {
        return std::forward<Inside>(inside)();
    } catch (const std::bad_alloc&) {
        trace_out_of_memory(caller);
    } catch (const std::exception& error) {
        SM_TRACE(SM_TRACE_ERROR, "%s: %s\n", caller.function, error.what());
    }
    return failure;
}

}  // namespace ssd_op::base
