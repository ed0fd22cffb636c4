/// Records for tests: made in memory, stored, read.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/text.h"
#include "ssd_op.h"

namespace support {

struct FreeRecord {
    void operator()(ssd_op_db_record* record) const { SSD_OP_DB_Free_Record(record); }
};
using Record = std::unique_ptr<ssd_op_db_record, FreeRecord>;

inline Record empty_record() {
    return Record(static_cast<ssd_op_db_record*>(std::calloc(1, sizeof(ssd_op_db_record))));
}

struct Group {
    int raid_id;
    int raid_level;
    std::vector<unsigned> drives;
};

inline Record record_of(const std::string& title, const std::vector<Group>& groups) {
    Record record = empty_record();
    record->start_time = 1'700'000'000;
    record->min_op = 10;
    record->max_op = 40;
    record->interval = 10;
    ssd_op::base::copy_text(record->title, title);
    ssd_op_db_raid_conf** tail = &record->raid_conf;
    for (const Group& group : groups) {
        *tail = static_cast<ssd_op_db_raid_conf*>(std::calloc(1, sizeof(ssd_op_db_raid_conf)));
        (*tail)->raid_id = group.raid_id;
        (*tail)->raid_level = group.raid_level;
        for (const unsigned drive : group.drives)
            (*tail)->ssd_drives[(*tail)->ssd_drive_num++].dev_id = drive;
        tail = &(*tail)->next;
    }
    return record;
}

/// Stores a record with one group; its number, or what the library returned.
inline int store_record(const std::string& title, const std::vector<unsigned>& drives) {
    const Record record = record_of(title, {{800, 5, drives}});
    const int result = SSD_OP_DB_New_Record(record.get());
    return result == 0 ? record->record_no : result;
}

/// A stored record with its results; its number is 0 when it cannot be read.
inline Record read_record(int record_no) {
    Record record = empty_record();
    if (SSD_OP_DB_Query_Record(record_no, record.get()) == 0)
        SSD_OP_DB_Query_Record_Test_Data(record.get(), record_no);
    return record;
}

}  // namespace support
