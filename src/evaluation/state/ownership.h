#pragma once

#include "ssd_op.h"

namespace ssd_op::evaluation {

/// Whose the platform's group is that has the number of one of a record's groups: numbers are used
/// again, by evaluations and by whoever makes groups. Newer records are not asked here; the command
/// line, which has them all before it, asks with the same code.
enum class Members {
    kNone,   ///< no group has been made of the number, or the platform does not tell
    kAll,    ///< exactly the drives that the record has
    kSome,   ///< only drives of the record, but not all: one has failed, or it is another's group
    kOthers  ///< a drive that the record does not have
};
Members members_of(const ssd_op_db_raid_conf& group);

/// Whether the group is the record's for certain, whole or not made yet: a number that nothing was
/// made of was never given back when the driver died.
bool is_surely_of(const ssd_op_db_raid_conf& group, const ssd_op_db_record& record);

}  // namespace ssd_op::evaluation
