#pragma once

#include "ssd_op.h"

namespace ssd_op::db {

// A record's way into the database, and changes of single fields of it. False when the database
// could not be opened or written.

/// SSD_OP_DB_New_Record.
bool create_record(ssd_op_db_record& record) noexcept;

// SSD_OP_DB_Update_Record_... and SSD_OP_DB_Update_Disk_Performance. True also when there is no
// such record.

bool update_test_size(int record_no, unsigned long long mib) noexcept;
bool update_lv_size(int record_no, unsigned long long mib) noexcept;
bool update_raid_capacity(int record_no, int raid_id, unsigned long long kib) noexcept;
bool update_status(int record_no, int status) noexcept;
bool update_end_time(int record_no, int end_time) noexcept;

/// Which of a drive's four figures.
struct Figure {
    bool is_write;
    bool is_sequential;
};
bool update_performance(int record_no, int raid_id, int dev_id, Figure figure,
                        unsigned long long value) noexcept;

}  // namespace ssd_op::db
