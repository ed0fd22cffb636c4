#pragma once

#include <memory>
#include <new>

#include "base/owners.h"
#include "db/queries.h"
#include "ssd_op.h"

namespace ssd_op::db {

// Release of records and of what hangs on them: what the exported functions of these names do.

void free_temperatures(ssd_op_db_raid_conf& group);
void free_runtime_report(ssd_op_db_record& record);
void free_groups(ssd_op_db_record& record);
/// With all records that follow it.
void free_record(ssd_op_db_record* record);

struct FreeRecord {
    void operator()(ssd_op_db_record* record) const { free_record(record); }
};
using RecordOwner = std::unique_ptr<ssd_op_db_record, FreeRecord>;

/// An empty record. @throws std::bad_alloc
inline RecordOwner new_record() {
    RecordOwner record(base::make_zeroed<ssd_op_db_record>().release());
    if (!record) throw std::bad_alloc();
    return record;
}

/// A record from the database; null when it cannot be read. @throws std::bad_alloc
inline RecordOwner load_record(int record_no) {
    RecordOwner record = new_record();
    if (!query_record(record_no, *record)) record.reset();
    return record;
}

}  // namespace ssd_op::db
