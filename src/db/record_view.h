#pragma once

#include "db/overflow.h"
#include "db/sql.h"
#include "ssd_op.h"

namespace ssd_op::db {

/// The joined view of records: one row for each member drive, so a record without drives has none.
/// A row has kRecordViewColumns columns and goes, piece by piece, into a record, one of its groups
/// and one of that group's drives.
constexpr int kRecordViewColumns = 31;

/// The statement that reads the records which `selection` picks from TEST_RECORD.
Sql record_view(const Sql& selection);

int record_no_of(const Row& row);
void read_record(const Row& row, ssd_op_db_record& record);

/// Puts the row's drive into the group with the row's RAID id, which is appended when there is none
/// yet. Null when the group is full.
/// @throws std::bad_alloc
ssd_op_db_ssd_dev* add_drive(const Row& row, ssd_op_db_record& record, Overflow& overflow);

}  // namespace ssd_op::db
