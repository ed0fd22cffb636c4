/// What the add-on tells the front end while it measures: its keys in the record's section of the
/// runtime-info file, and the figures of the current ratio in its status file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace appliance::addon {

/// The keys to write; one that is left out keeps its value.
struct ProgressKeys {
    std::optional<int> percentage{};       ///< ratio being measured; -1: the initial fill; -2: none
    std::optional<int> total_step{};       ///< steps of a ratio
    std::optional<int> running_step{};     ///< step running now, from 1
    std::optional<uint64_t> start_time{};  ///< start of the ratio, seconds since the epoch
    std::optional<int> detail{};           ///< 1: the status file's figures are to be used
    std::optional<int> script_progress{};  ///< percent of the whole script, less the current ratio
};

/// The current ratio's figures.
struct Status {
    double percent = 0;        ///< progress of the ratio
    uint64_t eta_seconds = 0;  ///< time left for the ratio
    uint64_t written_kib = 0;  ///< amount written since the ratio's start
    double iops = 0;           ///< rate of the latest step
};

/// Time left as the front end reads it: 6s, 5m:6s, 4h:5m:6s or 3d:4h:5m:6s.
std::string eta_text(uint64_t seconds);

/// The status file's one line of 51 fields, separated by semicolons. Fields used: 1 record,
/// 2 volume, 6 percent, 7 time left, 49 KiB written, 51 IOPS.
std::string status_line(int record_no, const std::string& volume, const Status& status);

/// Publishes figures and keys under one hold of the runtime-info file's write lock.
///
/// A reader takes test_script_progress first, without the lock, and the status file last. So that
/// one that comes between two ratios never sees more than there is, the file changes first and that
/// key last: such a reader sees the new ratio's figures on the old one's progress, once.
/// @return false when something could not be written; the rest is written all the same
bool publish(int record_no, const std::string& volume, const Status& status,
             const ProgressKeys& keys);

/// The script is done: no ratio, no figures, all of its progress made.
bool publish_end(int record_no);

}  // namespace appliance::addon
