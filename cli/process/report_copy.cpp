#include "process/report_copy.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "output/failure.h"
#include "output/text.h"
#include "process/interrupt.h"

namespace cli {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail_writing(const std::string& path, const std::string& report, int error) {
    throw Failure(
        kFailed, fmt::format("{} cannot be written: {}.", printable(path), std::strerror(error)),
        report.empty() ? "" : fmt::format("The whole report lies in {}", printable(report)));
}

/// What a copy is written to before it has its name.
class Draft {
  public:
    Draft(const std::string& path, const std::string& report)
        : path_((fs::path(path).parent_path() / ".ssd-op-export.XXXXXX").string()),
          file_(::mkostemp(path_.data(), O_CLOEXEC)) {
        if (!file_) fail_writing(path, report, errno);
        const mode_t mask = ::umask(0);  // which this alone tells
        ::umask(mask);
        ::fchmod(file_.get(), 0666 & ~mask);
    }
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;
    ~Draft() {
        if (!published_) ::unlink(path_.c_str());
    }

    int descriptor() const { return file_.get(); }

    /// Some file systems report a failed write only when the file is closed.
    bool close() { return ::close(file_.release()) == 0; }

    bool publish(const std::string& path, bool force) {
        published_ = force ? ::rename(path_.c_str(), path.c_str()) == 0 : publish_as_new(path);
        return published_;
    }

  private:
    /// Fails when the name has been taken since it was found free.
    bool publish_as_new(const std::string& path) {
        if (::renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0)
            return true;
        if (errno != EINVAL || ::link(path_.c_str(), path.c_str()) != 0) return false;
        ::unlink(path_.c_str());  // a network's file system, which has only links for this
        return true;
    }

    std::string path_;
    Descriptor file_;
    bool published_ = false;
};

bool write_all(int file, const char* data, size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(file, data, size);
        if (written < 0 && errno != EINTR) return false;
        if (written < 0) continue;
        data += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

/// @param interrupt  what ends it early, if anything
/// @return 0, or the error
int copy_bytes(int from, int to, const Interrupt* interrupt) {
    std::array<char, size_t{1} << 16U> part{};
    for (;;) {
        const ssize_t size = ::read(from, part.data(), part.size());
        if (interrupt != nullptr && interrupt->happened()) return EINTR;
        if (size < 0) return errno;
        if (size == 0) return 0;
        if (!write_all(to, part.data(), static_cast<size_t>(size))) return errno;
    }
}

/// Whether the name leads to a device or to a process's descriptor, as /dev/stdout does, also where
/// that is a regular file: the link would be replaced, and nothing reach the stream.
bool is_of_the_system(fs::path path) {
    constexpr int kMostLinks = 40;
    std::error_code ignored;
    for (int links = 0; links < kMostLinks; ++links) {
        const fs::path folder = fs::weakly_canonical(fs::absolute(path).parent_path(), ignored);
        if (folder == "/dev" || folder.string().starts_with("/proc/")) return true;
        if (!fs::is_symlink(fs::symlink_status(path, ignored))) return false;
        path = folder / fs::read_symlink(path, ignored);
    }
    return false;
}

/// A link to the report is another entry.
bool is_entry_of(const std::string& path, int file) {
    struct stat a {
    }, b{};
    return ::lstat(path.c_str(), &a) == 0 && ::fstat(file, &b) == 0 && a.st_dev == b.st_dev &&
           a.st_ino == b.st_ino;
}

}  // namespace

std::string copy_path(const std::string& report, const std::string& output) {
    std::error_code ignored;
    if (!fs::is_directory(output, ignored)) return output;
    return (fs::path(output) / fs::path(report).filename()).string();
}

void refuse_existing(const std::string& path, bool force) {
    std::error_code ignored;
    const fs::file_status status = fs::status(path, ignored);
    if ((fs::exists(status) && !fs::is_regular_file(status)) || is_of_the_system(path)) {
        throw Failure(kRefused, fmt::format("{} is not a file.", printable(path)),
                      "A dash prints a page or a CSV report: --output -");
    }
    if (!force && fs::exists(fs::symlink_status(path, ignored))) {
        throw Failure(kRefused, fmt::format("{} is there already.", printable(path)),
                      "Add --force to write over it.");
    }
}

void copy_report(const MadeReport& report, const std::string& path, bool force,
                 const Interrupt& interrupt) {
    const int file = report.file.get();
    if (is_entry_of(path, file)) return;
    refuse_existing(path, force);
    Draft draft(path, report.path);
    if (const int error = copy_bytes(file, draft.descriptor(), &interrupt); error != 0)
        fail_writing(path, report.path, error);
    if (!draft.close() || !draft.publish(path, force)) fail_writing(path, report.path, errno);
}

void print_report(const MadeReport& report) {
    if (const int error = copy_bytes(report.file.get(), STDOUT_FILENO, nullptr); error != 0)
        fail_writing("The output", report.path, error);
}

}  // namespace cli
