#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "ssd_op.h"

namespace appliance::addon {

/// What the drives of a record's test storage report about themselves.
struct DriveReading {
    uint64_t host_written_kib = 0;   ///< sum over the drives
    uint64_t flash_written_kib = 0;  ///< sum over the drives; 0 unless all of them count both
    int hottest = 0;                 ///< highest temperature, degrees Celsius
    bool all_answered = true;        ///< false: a drive gave no SMART data, and is in none of these
};

struct FreeRecord {
    void operator()(ssd_op_db_record* record) const { SSD_OP_DB_Free_Record(record); }
};
/// Null when there is no such record.
std::unique_ptr<ssd_op_db_record, FreeRecord> load_record(int record_no);

/// Reads the SMART data of the record's drives.
/// @return nothing when there is no such record
std::optional<DriveReading> read_drives(int record_no);

/// Whether each of the record's drives is in its slot, and no other one.
bool are_drives_there(int record_no);

}  // namespace appliance::addon
