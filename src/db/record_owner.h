#pragma once

#include <memory>
#include <new>

#include "base/owners.h"
#include "ssd_op.h"

namespace ssd_op::db {

struct FreeRecord {
    void operator()(ssd_op_db_record* record) const { SSD_OP_DB_Free_Record(record); }
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
    if (SSD_OP_DB_Query_Record(record_no, record.get()) != 0) record.reset();
    return record;
}

}  // namespace ssd_op::db
