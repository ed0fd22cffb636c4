/// Runtime room: what other processes see of a running test without asking the database. It keeps
/// two ini files with a section for each record, and computes progress figures from them and from
/// the test script's status file. It uses `db` for a record's status and parameters. Each access
/// holds the lock of the one file that it touches, and no other lock.
#pragma once

#include <optional>
#include <string>

namespace ssd_op::runtime {

/// State of running tests. The test script writes keys of its own into a record's section.
constexpr const char* kRuntimeInfoFile = "/etc/.sm_v2_ssd_op_runtime_info";

/// Path of the add-on's ini file into a buffer of 256 bytes. 0; -1 when the add-on is not
/// installed.
int ssd_op_test_get_conf(char* path);

/// A section of one of the two files. Reads and writes give 0 or -1 and take the file's lock.
struct StateSection {
    std::string file;
    std::string name;

    int read(const char* key, int* value) const;
    int write(const char* key, int value) const;
    int write_text(const char* key, const char* value) const;
    int read_text(const char* key, char* buffer, int size) const;
    int remove() const;
};

/// A record's section in the runtime-info file.
StateSection runtime_info(int record_no);

/// A record's section in the add-on's file; nothing when the add-on is not installed.
std::optional<StateSection> addon_section(int record_no);

/// Shows a status that the database holds already: step progress back to 0, and the copy of the
/// status. The copies of several processes may be written in another order than the database's
/// changes; the last one written is the database's status all the same.
void publish_status(int record_no, int status) noexcept;

/// The section that belongs to no record.
std::optional<StateSection> addon_global_section();

}  // namespace ssd_op::runtime
