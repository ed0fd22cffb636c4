#include "addon/progress.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include "platform/ini.h"

namespace appliance::addon {

namespace {

constexpr const char* kRuntimeInfoFile = "/etc/.sm_v2_ssd_op_runtime_info";

std::string status_file(int record_no) {
    return fmt::format("/etc/.sm_v2_ssd_op_test_{}", record_no);
}

/// The write lock on a file, for as long as this lives.
class FileLock {
  public:
    explicit FileLock(const char* name) : handle_(Ini_Conf_Write_Lock_File(name)) {}
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock() { Ini_Conf_Unlock_File(handle_); }

  private:
    int handle_;
};

/// Under the file's write lock, which the caller holds.
bool write_keys(int record_no, const ProgressKeys& keys) {
    const std::string section = fmt::format("Record_{}", record_no);
    bool written = true;
    const auto write = [&](const char* key, const auto& value) {
        if (!value) return;
        written &= Ini_Conf_Set_Field(kRuntimeInfoFile, section.c_str(), key,
                                      fmt::to_string(*value).c_str()) >= 0;
    };
    write("current_op_percentage", keys.percentage);
    write("current_op_total_step", keys.total_step);
    write("current_op_running_step", keys.running_step);
    write("current_op_start_time", keys.start_time);
    write("current_op_detail", keys.detail);
    write("test_script_progress", keys.script_progress);
    return written;
}

/// Replaces the status file in one step, since it is read without a lock.
bool write_status_file(int record_no, const std::string& line) {
    const std::string path = status_file(record_no);
    const std::string draft = fmt::format("{}.{}", path, ::getpid());
    std::ofstream file(draft, std::ios::trunc);
    file << line;
    file.close();
    if (file.good() && std::rename(draft.c_str(), path.c_str()) == 0) return true;
    std::error_code ignored;
    std::filesystem::remove(draft, ignored);
    return false;
}

}  // namespace

std::string eta_text(uint64_t seconds) {
    const uint64_t days = seconds / 86400;
    const uint64_t hours = seconds / 3600 % 24;
    const uint64_t minutes = seconds / 60 % 60;
    const uint64_t rest = seconds % 60;
    if (days > 0) return fmt::format("{}d:{}h:{}m:{}s", days, hours, minutes, rest);
    if (hours > 0) return fmt::format("{}h:{}m:{}s", hours, minutes, rest);
    if (minutes > 0) return fmt::format("{}m:{}s", minutes, rest);
    return fmt::format("{}s", rest);
}

std::string status_line(int record_no, const std::string& volume, const Status& status) {
    std::array<std::string, 51> fields;
    const auto field = [&](size_t number) -> std::string& { return fields[number - 1]; };
    field(1) = fmt::to_string(record_no);
    field(2) = volume;
    field(6) = fmt::format("{:.1f}", status.percent);
    field(7) = eta_text(status.eta_seconds);
    field(49) = fmt::to_string(status.written_kib);
    field(51) = fmt::format("{:.1f}", status.iops);
    return fmt::format("{}\n", fmt::join(fields, ";"));
}

bool publish(int record_no, const std::string& volume, const Status& status,
             const ProgressKeys& keys) {
    const FileLock lock(kRuntimeInfoFile);
    const bool figures = write_status_file(record_no, status_line(record_no, volume, status));
    return write_keys(record_no, keys) && figures;
}

bool publish_end(int record_no) {
    constexpr int kNoRatio = -2;
    const FileLock lock(kRuntimeInfoFile);
    const bool written =
        write_keys(record_no, {.percentage = kNoRatio, .detail = 0, .script_progress = 100});
    std::error_code ignored;
    std::filesystem::remove(status_file(record_no), ignored);
    return written;
}

}  // namespace appliance::addon
