#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace host {

/// What a program of the host printed.
struct ToolOutput {
    bool found = true;    ///< false: there is no such program
    bool started = true;  ///< false: it cannot be; why, its complaint says
    bool whole = true;    ///< false: it printed more than is read, or took longer than is waited
    int status = -1;      ///< what it exited with; -1 when a signal ended it
    std::string text{};   ///< its standard output; nothing unless whole
    std::string complaint{};  ///< the beginning of its standard error
};

struct ToolOptions {
    std::string input{};                   ///< its standard input
    std::chrono::seconds most_time{30};    ///< then it is ended
    std::vector<std::string> variables{};  ///< NAME=VALUE; it gets LC_ALL=C and no others
};

/// Runs a program, found in the directories of the system whatever PATH says, without a shell. Its
/// first 1 MiB of output is read; then it is ended. Works whatever the caller does with SIGCHLD.
ToolOutput run_tool(const std::vector<std::string>& words, const ToolOptions& options = {});

/// What it printed. Fails, with its complaint, unless it was run to its end and exited with 0.
std::string must_run(const std::vector<std::string>& words, const ToolOptions& options = {});

/// The words that run a program as the host's first process sees the files, and not as this root
/// shows them.
std::vector<std::string> on_host(const std::vector<std::string>& words);

}  // namespace host
