#include "report/file.h"

#include <algorithm>

#include <fcntl.h>
#include <glob.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "base/plain_file.h"
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

/// Removes the working files of processes that were killed. Those of living ones are locked.
void remove_abandoned_files() {
    glob_t found{};
    ::glob("/tmp/.ssd_op_report.??????", GLOB_NOSORT, nullptr, &found);
    for (size_t i = 0; i < found.gl_pathc; ++i) {
        const char* path = found.gl_pathv[i];
        // Others may have put anything under such a name.
        const base::Descriptor file = base::open_plain_file(path);
        struct stat status {};
        if (::fstat(file.get(), &status) == 0 && status.st_uid == ::geteuid() &&
            ::flock(file.get(), LOCK_EX | LOCK_NB) == 0)
            ::unlink(path);
    }
    ::globfree(&found);
}

/// Locks a new working file. False when it was removed as an abandoned one before that.
bool keep(const base::Descriptor& file) {
    ::flock(file.get(), LOCK_EX);
    struct stat status {};
    return ::fstat(file.get(), &status) == 0 && status.st_nlink > 0;
}

}  // namespace

std::string report_path(std::string_view title, std::string_view suffix) {
    std::string name = std::string(kTestName) + '_';
    name += cut_between_characters(title, kLongestFileName - name.size() - suffix.size());
    name += suffix;
    std::replace(name.begin(), name.end(), '/', '_');
    return "/tmp/" + name;
}

ReportFile::ReportFile(const std::string& path) : path_(path) {
    ::unlink(path_.c_str());
    remove_abandoned_files();
    do {
        working_path_ = "/tmp/.ssd_op_report.XXXXXX";
        file_ = base::Descriptor(::mkostemp(working_path_.data(), O_CLOEXEC));
        if (!file_) {
            working_path_.clear();
            return;
        }
    } while (!keep(file_));
    ::fchmod(file_.get(), 0644);  // who reads it need not be who had it written
}

ReportFile::~ReportFile() {
    if (!working_path_.empty()) ::unlink(working_path_.c_str());
}

bool ReportFile::publish() {
    const base::Descriptor lock(::fcntl(file_.get(), F_DUPFD_CLOEXEC, 0));  // until it is renamed
    // Some file systems report a failed write only when the file is closed.
    if (::close(file_.release()) != 0) return false;
    if (::rename(working_path_.c_str(), path_.c_str()) != 0) return false;
    working_path_.clear();
    return true;
}

}  // namespace ssd_op::report
