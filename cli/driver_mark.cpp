#include "driver_mark.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <unistd.h>

#include "failure.h"

namespace cli {

namespace {

namespace fs = std::filesystem;

// Emptied when the appliance starts, as no driver survives that.
constexpr const char* kDirectory = "/run";
constexpr const char* kNamedMark = "/run/ssd-op.record-";

std::string path_of_record(int record_no) { return fmt::format("{}{}", kNamedMark, record_no); }

/// Record numbers are used again once all records are deleted; then the start tells them apart.
std::string identity(const ssd_op_db_record& record) {
    return fmt::format("{} {}\n", record.record_no, record.start_time);
}

std::string content_of(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A driver that ssd-op started has no arguments; see launch.h.
bool has_arguments(const fs::path& process) {
    const std::string line = content_of(process / "cmdline");
    const size_t name_end = std::min(line.find('\0'), line.size());
    return line.find_first_not_of(std::string_view(" \0", 2), name_end) != std::string::npos;
}

/// Its mark names the record that it drives, which is not the one in question.
bool is_driver_of_another(const fs::path& process) {
    std::error_code error;
    const fs::directory_iterator files(process / "fd", error);
    return std::any_of(begin(files), end(files), [](const fs::directory_entry& file) {
        std::error_code gone;
        return fs::read_symlink(file.path(), gone).string().starts_with(kNamedMark);
    });
}

/// Has loaded the library, and is neither another command, nor the test script's helper, nor
/// another record's driver.
bool could_be_driver(const fs::path& process) {
    std::error_code error;
    const std::string program = fs::read_symlink(process / "exe", error).filename();
    if (program == "disk_opr_util" || (program == "ssd-op" && has_arguments(process))) return false;
    return content_of(process / "maps").find("/libssd_op.so") != std::string::npos &&
           !is_driver_of_another(process);
}

bool some_process_could_be_driver() {
    std::error_code error;
    const fs::directory_iterator processes("/proc", error);
    return std::any_of(begin(processes), end(processes), [](const fs::directory_entry& entry) {
        const std::string name = entry.path().filename();
        return name.find_first_not_of("0123456789") == std::string::npos &&
               could_be_driver(entry.path());
    });
}

}  // namespace

DriverMark::DriverMark()
    : path_(fmt::format("{}/ssd-op.{}", kDirectory, ::getpid())),
      file_(::open(path_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644)) {
    if (!file_ || ::flock(file_.get(), LOCK_EX | LOCK_NB) != 0)
        throw Failure(kFailed, fmt::format("{} cannot be written.", path_), std::strerror(errno));
}

DriverMark::~DriverMark() {
    if (!path_.empty()) ::unlink(path_.c_str());
}

void DriverMark::name(const ssd_op_db_record& record) {
    const std::string text = identity(record);
    const bool written =
        ::write(file_.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
    if (written && std::rename(path_.c_str(), path_of_record(record.record_no).c_str()) == 0)
        path_.clear();
}

Driver driver_of(const ssd_op_db_record& record) {
    const std::string path = path_of_record(record.record_no);
    if (content_of(path) != identity(record))
        return some_process_could_be_driver() ? Driver::kUnknown : Driver::kGone;
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const bool held = ::flock(file.get(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    return held ? Driver::kRuns : Driver::kGone;
}

}  // namespace cli
