/// Model room: what there is (records, drives, storage that was left, the database) and where an
/// evaluation is, asked of the library and the platform at this moment.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "shared/ranges.h"
#include "ssd_op.h"

namespace cli {

namespace shared = ssd_op::shared;

struct FreeRecord {
    void operator()(ssd_op_db_record* record) const { SSD_OP_DB_Free_Record(record); }
};
using Record = std::unique_ptr<ssd_op_db_record, FreeRecord>;

/// Numbers of all records, ascending.
std::vector<int> record_nos();

/// @throws Failure when there is no record of that number, telling which there are
void require_existence(int record_no);

/// @throws Failure when a number stands there more than once
void require_distinct(const std::vector<int>& record_nos);

/// For a query to fill.
Record empty_record();

/// A record with its groups, drives and results.
/// @throws Failure when there is none of that number, telling which there are
Record require_record(int record_no);

/// All records, oldest first.
std::vector<Record> load_records();

/// The records that are initiating, testing or finishing.
std::vector<Record> load_running_records();

bool is_running(int status);

/// "testing" and so on, the word used in tables and in JSON.
std::string status_word(int status);

/// All drives of a record, group by group.
std::vector<const ssd_op_db_ssd_dev*> drives_of(const ssd_op_db_record& record);

/// The name of a drive's slot; when the platform has none (any more), its place: "1:4".
std::string slot_name(const ssd_op_db_ssd_dev& drive);

}  // namespace cli
