#pragma once

#include <exception>
#include <string>

#include <fmt/format.h>

#include "core/call.h"

namespace appliance {

/// The words of a command line after the program's name, as the journal shows them.
inline std::string words(int argc, char** argv) {
    std::string line;
    for (int i = 1; i < argc; ++i) line += (i > 1 ? " " : "") + std::string(argv[i]);
    return line;
}

/// A program's work as one call: it suffers the faults set for its name and stands in the journal.
/// What goes wrong is said on the standard error and ends the program with status 1.
template <typename Work>
int run_program(const char* name, int argc, char** argv, Work&& work) {
    const auto told = [&] { return words(argc, argv); };
    return call(name, told, [&]() -> int {
        try {
            return work();
        } catch (const std::exception& error) {
            fmt::print(stderr, "{}: {}\n", name, error.what());
            return 1;
        }
    });
}

}  // namespace appliance
