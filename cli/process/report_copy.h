#pragma once

#include <string>

#include "process/interrupt.h"
#include "process/report_making.h"

namespace cli {

/// Where a copy goes that the user wants at `output`: there, or into the directory of that name.
std::string copy_path(const std::string& report, const std::string& output);

/// @throws Failure when something is there that must not be written over
void refuse_existing(const std::string& path, bool force);

/// Copies a report. It has its name once it is whole; when it cannot be, with Ctrl-C too, nothing
/// of it stays. A link in its place is replaced, not followed.
/// @throws Failure when it cannot be written, or is there already and `force` is not set
void copy_report(const MadeReport& report, const std::string& path, bool force,
                 const Interrupt& interrupt);

/// @throws Failure when not all of it can be written
void print_report(const MadeReport& report);

}  // namespace cli
