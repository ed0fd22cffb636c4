#pragma once

#include <cstdio>
#include <exception>

#include <fmt/format.h>

#include "core/failure.h"
#include "platform/naslog.h"

namespace host {

/// A program's work. What goes wrong is said on the standard error and ends it with status 1.
template <typename Work>
int run_program(const char* name, Work&& work) {
    try {
        return work();
    } catch (const Failure& failure) {
        fmt::print(stderr, "{}: {}\n{}\n", name, failure.what(), failure.next_step());
    } catch (const std::exception& error) {
        fmt::print(stderr, "{}: {}\n", name, error.what());
    }
    return 1;
}

/// The same of a program that the library and the add-on call: what it says they throw away, or
/// delete with the rest of a run, so the trace log is told as well.
template <typename Work>
int run_called_program(const char* name, Work&& work) {
    return run_program(name, [&] {
        try {
            return work();
        } catch (const Failure& failure) {
            SM_TRACE(SM_TRACE_ERROR, "%s: %s %s\n", name, failure.what(),
                     failure.next_step().c_str());
            throw;
        }
    });
}

}  // namespace host
