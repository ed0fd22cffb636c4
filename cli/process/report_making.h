#pragma once

#include <string>

#include "process/interrupt.h"
#include "shared/descriptor.h"

namespace cli {

using ssd_op::shared::Descriptor;

/// Keeps others of these commands from exporting: records with one title share a report's name.
class ExportLock {
  public:
    /// Waits for its turn.
    /// @throws Failure when it is interrupted, or cannot be had
    explicit ExportLock(const Interrupt& interrupt);

  private:
    Descriptor file_;
};

/// The file that was made, open: whatever takes its name later, this is the report.
struct MadeReport {
    std::string path;  // empty: it has no name
    Descriptor file;
};

/// Has the library write a record's report, and shows meanwhile that something goes on. Whoever
/// exports without the lock, another front end, can replace a report under its name; it is then
/// made once more, a few times.
/// @throws Failure when it cannot be written, or another one took its name each time
MadeReport make_report(int record_no, bool csv, const ExportLock& lock, const Interrupt& interrupt);

/// A report that this process has made itself, in a file of memory.
/// @throws Failure when there is not enough of it
MadeReport hold_report(const std::string& text);

}  // namespace cli
