#pragma once

#include <string>

#include "commands/commands.h"

namespace cli {

/// Where a command writes what it makes, and how it tells.
struct FileOptions {
    std::string output;
    bool force = false;
    bool json = false;

    bool prints() const { return output == "-"; }
};

/// @return --output, which the command may require
Argument add_file_options(Arguments& command, FileOptions& options, const char* help);

/// For what is known before anything is made.
/// @throws Failure when the output is not one, or a file is there already
void check_output(const FileOptions& options);

}  // namespace cli
