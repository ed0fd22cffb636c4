/// Storage room: the temporary groups, pool and volume of an evaluation, from the layout that is
/// asked for to their removal, and the file services that stand still meanwhile.
#pragma once

#include "platform/storage.h"
#include "ssd_op.h"

namespace ssd_op::evaluation {

/// Whether every group's level fits its number of members (SSD_OP_Test_Check_RAID). A message names
/// the rule that is broken.
bool is_valid_layout(RAID_CONF* raid_list);
constexpr int kBadLayout = -13;

/// What SSD_OP_Test_Create_Storage says before anything else.
void trace_creation(int need_fork);
constexpr int kCreationOutOfMemory = -10;

/// Prepares the drives of a valid layout and makes its storage (SSD_OP_Test_Create_Storage) in this
/// process. The volume's id, or that function's error; memory that runs short is one of them.
int create_storage(RAID_CONF* raid_list, const ssd_op_test_param& request,
                   ssd_op_db_record& record);

/// SSD_OP_Test_Remove_Storage.
int remove_storage(int lv_id, int need_fork = 0);

}  // namespace ssd_op::evaluation
