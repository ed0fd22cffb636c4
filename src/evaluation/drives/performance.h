#pragma once

#include "platform/storage.h"
#include "ssd_op.h"

namespace ssd_op::evaluation {

/// Measures every drive of a request, one after the other, and stores each figure in the drive's
/// entry of the record, in memory and in the database.
/// @param record_no   number of the record, whose status must stay INITIATING
/// @param raid_confs  head of the record's groups, which receive the figures
/// @param sequential  non-zero: KiB a second; zero: IOPS
/// @param read        non-zero: read; zero: write
/// @return 0; -1 stopped before the last drive; -10 out of memory; otherwise the OR of what the
///         platform's measurements and read-backs returned
int ssd_op_test_performance_test(const int* record_no, ssd_op_db_raid_conf** raid_confs,
                                 RAID_CONF* raid_list, int sequential, int read);

/// ssd_op_test_disk_write_performance_test, for at least one drive.
int measure_writes(const unsigned* dev_ids, int count, const int* part_nos, bool sequential,
                   bool background);

}  // namespace ssd_op::evaluation
