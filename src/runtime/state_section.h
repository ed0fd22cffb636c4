/// Runtime room: what other processes see of a running test without asking the database. It keeps
/// two ini files with a section for each record, and computes progress figures from them and from
/// the test script's status file. It uses `db` for a record's status and parameters. Each access
/// holds the lock of the one file that it touches, and no other lock.
#pragma once

#include <array>
#include <optional>
#include <string>

namespace ssd_op::runtime {

/// State of running tests. The test script writes keys of its own into a record's section.
constexpr const char* kRuntimeInfoFile = "/etc/.sm_v2_ssd_op_runtime_info";

// Keys of a record's section there.
constexpr const char* kStatus = "status";
constexpr const char* kStepProgress = "step_progress";
constexpr const char* kStopServicePid = "stop_service_pid";
constexpr const char* kOpCount = "op_count";
// The test script's own.
constexpr const char* kCurrentRatio = "current_op_percentage";
constexpr const char* kCurrentStart = "current_op_start_time";
constexpr const char* kCurrentDetail = "current_op_detail";
constexpr const char* kTotalSteps = "current_op_total_step";
constexpr const char* kRunningStep = "current_op_running_step";

// Keys of the add-on's file: of the section that belongs to no record, and of a record's.
constexpr const char* kUserAgreement = "user_agreement";
constexpr const char* kSkippedCount = "skip_op_count";

constexpr int kPathSize = 256;

/// Where the add-on with the test script is installed; "null" when that is not known.
std::array<char, kPathSize> addon_directory();

/// Path of the add-on's ini file into a buffer of kPathSize bytes. 0; -1 when the add-on is not
/// installed.
int ssd_op_test_get_conf(char* path);

/// A section of one of the two files. An access takes the file's lock, and no memory unless it
/// reads a text.
struct StateSection {
    char file[kPathSize];
    char name[24];

    /// Nothing when there is no such number.
    std::optional<int> read(const char* key) const;
    std::optional<std::string> read_text(const char* key) const;
    bool write(const char* key, int value) const;
    bool write(const char* key, const char* value) const;
    bool remove() const;
};

/// A record's section in the runtime-info file.
StateSection runtime_info(int record_no);

/// A record's section in the add-on's file; nothing when the add-on is not installed.
std::optional<StateSection> addon_section(int record_no);
std::optional<int> read_addon(int record_no, const char* key);
bool write_addon(int record_no, const char* key, int value);

/// The section that belongs to no record.
std::optional<StateSection> addon_global_section();

/// Removes a record's section from both files. False, with nothing removed, without the add-on;
/// false also when one of them could not be removed.
bool remove_state(int record_no);

/// Shows a status that the database holds already: step progress back to 0, and the copy of the
/// status. The copies of several processes may be written in another order than the database's
/// changes; the last one written is the database's status all the same.
void publish_status(int record_no, int status);

}  // namespace ssd_op::runtime
