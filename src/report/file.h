#pragma once

#include <string>
#include <string_view>

#include "base/owners.h"

namespace ssd_op::report {

/// Where a report lies: in /tmp, under the test's name and its title. A slash in the title is an
/// underscore there, and a title that is too long for a file name is cut, between characters.
std::string report_path(std::string_view title, std::string_view suffix);

/// A report in the making. It is written to a new file with a name of its own, which no link can
/// lead elsewhere, and gets its real name when it is complete. An older report of that name is
/// deleted first; one that is not published leaves nothing, or, when its process was killed, a file
/// that the next report removes.
class ReportFile {
  public:
    explicit ReportFile(const std::string& path);
    ReportFile(const ReportFile&) = delete;
    ReportFile& operator=(const ReportFile&) = delete;
    ~ReportFile();

    explicit operator bool() const { return static_cast<bool>(file_); }
    int descriptor() const { return file_.get(); }
    const char* working_path() const { return working_path_.c_str(); }
    /// Whether the report is now there.
    bool publish();

  private:
    std::string path_, working_path_;
    base::Descriptor file_;
};

}  // namespace ssd_op::report
