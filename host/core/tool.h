#pragma once

#include <string>
#include <vector>

namespace host {

/// What a program of the host printed.
struct ToolOutput {
    bool found = true;   ///< false: there is no such program
    bool whole = true;   ///< false: it printed more than is read, or took longer than is waited
    int status = -1;     ///< what it exited with; -1 when a signal ended it
    std::string text{};  ///< its standard output; nothing unless whole
};

/// Runs a program, found in the directories of the system whatever PATH says, without a shell and
/// with its other streams on /dev/null. Its first 1 MiB of output is read, for 30 seconds at the
/// most; then it is ended.
ToolOutput run_tool(const std::vector<std::string>& words);

}  // namespace host
