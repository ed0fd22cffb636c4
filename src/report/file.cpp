#include "report/file.h"

#include <algorithm>

#include <fcntl.h>
#include <sys/stat.h>

#include "report/report.h"

namespace ssd_op::report {

namespace {

constexpr size_t kLongestFileName = 255;

bool continues_character(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80; }

std::string_view cut_between_characters(std::string_view text, size_t size) {
    if (text.size() <= size) return text;
    while (size > 0 && continues_character(text[size])) --size;
    return text.substr(0, size);
}

}  // namespace

std::string report_path(std::string_view title, std::string_view suffix) {
    std::string name = std::string(kTestName) + '_';
    name += cut_between_characters(title, kLongestFileName - name.size() - suffix.size());
    name += suffix;
    std::replace(name.begin(), name.end(), '/', '_');
    return "/tmp/" + name;
}

ReportFile::ReportFile(const std::string& path)
    : path_(path), working_path_("/tmp/.ssd_op_report.XXXXXX") {
    ::unlink(path_.c_str());
    file_ = base::Descriptor(::mkostemp(working_path_.data(), O_CLOEXEC));
    if (!file_)
        working_path_.clear();
    else
        ::fchmod(file_.get(), 0644);  // who reads it need not be who had it written
}

ReportFile::~ReportFile() {
    if (!working_path_.empty()) ::unlink(working_path_.c_str());
}

bool ReportFile::publish() {
    // Some file systems report a failed write only when the file is closed.
    if (::close(file_.release()) != 0) return false;
    if (::rename(working_path_.c_str(), path_.c_str()) != 0) return false;
    working_path_.clear();
    return true;
}

}  // namespace ssd_op::report
