#include "report/file.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <fcntl.h>
#include <glob.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>

#include "base/plain_file.h"
#include "report/report.h"

namespace ssd_op::report {

namespace {

constexpr size_t kLongestFileName = 255;
constexpr std::string_view kWorkingPath = "/tmp/.ssd_op_report.";

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

/// A name that nobody can foresee.
std::string new_working_path() {
    constexpr std::string_view kDigits = "abcdefghijklmnopqrstuvwxyz234567";
    std::array<unsigned char, 6> random{};
    if (::getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size()))
        return {};
    std::string path(kWorkingPath);
    for (const unsigned char byte : random) path += kDigits[byte % kDigits.size()];
    return path;
}

/// Makes a new file. Unlike mkostemp's, it has the mode that the umask leaves.
base::Descriptor make_new(std::string& path) {
    constexpr int kTries = 100;
    for (int tries = 0; tries < kTries; ++tries) {
        path = new_working_path();
        base::Descriptor file(
            ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
        if (file || errno != EEXIST) return file;
    }
    return base::Descriptor();
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
        file_ = make_new(working_path_);
        if (!file_) {
            working_path_.clear();
            return;
        }
    } while (!keep(file_));
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
