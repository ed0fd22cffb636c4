#pragma once

#include <cstdio>
#include <exception>

#include <fmt/format.h>

#include "core/failure.h"

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

}  // namespace host
