/// Report room: one record as a CSV file or as a workbook, written to /tmp. It may use the database
/// room, the base room and the platform; what a report says comes from the database's queries, and
/// this room lays it out. A report appears under its name whole or not at all.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "db/queries.h"
#include "db/record_owner.h"
#include "db/sample_ranges.h"
#include "ssd_op.h"

namespace ssd_op::report {

/// The fixed part of a report's name and of the test's name in it.
constexpr const char* kTestName = "SSD over-provisioning test";

// What both reports say in the same words.

std::string test_name(const ssd_op_db_record& record);
/// A byte count in steps of 1024: "1023 Byte", "1.50 KB", "465.76 GB", up to EB.
/// @param text room for 32 bytes; NULL: nothing happens
void ssd_op_format_size(uint64_t bytes, char* text);
std::string size_text(uint64_t bytes);  ///< the same
/// A moment in local time: "2020/05/01:13:45:07".
std::string time_text(time_t moment);
/// "Single" for one drive alone, else "RAID5" and the like.
std::string raid_word(const ssd_op_db_raid_conf& group);
/// The name that the appliance gives the drive's slot; empty when it gives none.
std::string slot_name(const ssd_op_db_ssd_dev& drive);
/// The memory text's pieces between commas, without the blanks before them.
std::vector<std::string_view> memory_items(const ssd_op_db_record& record);

/// Results of a record's ratios, read into the record. When the database could not give them there
/// are no ratios, however many it gave before it failed.
class Results {
  public:
    Results(ssd_op_db_record& record, int record_no)
        : record_(record), read_(db::query_results(record, record_no)) {}

    explicit operator bool() const { return read_; }
    std::span<const int> ratios() const {
        return {record_.percentage, read_ ? static_cast<size_t>(record_.count) : 0};
    }

  private:
    const ssd_op_db_record& record_;
    bool read_;
};

/// Samples of one ratio, read into the record and released again with this owner.
class Samples {
  public:
    Samples(ssd_op_db_record& record, const db::SampleRanges& ranges, int percentage)
        : record_(record), read_(ranges.read(record, percentage)) {}
    Samples(const Samples&) = delete;
    Samples& operator=(const Samples&) = delete;
    ~Samples() { db::free_runtime_report(record_); }

    /// False when the database could not give them.
    explicit operator bool() const { return read_; }
    const ssd_op_db_runtime_report* first() const { return record_.runtime_report; }
    unsigned count() const;

  private:
    ssd_op_db_record& record_;
    bool read_;
};

}  // namespace ssd_op::report
