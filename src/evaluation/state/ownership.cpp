#include "evaluation/state/ownership.h"

#include <algorithm>
#include <memory>
#include <set>

#include "platform/storage.h"
#include "shared/ranges.h"

namespace ssd_op::evaluation {

Members members_of(const ssd_op_db_raid_conf& group) {
    const auto made = std::make_unique<RAID_CONF>();
    if (RAID_Get_Conf(group.raid_id, made.get()) != 0) return Members::kNone;
    const int made_of = std::clamp(made->drive_num, 0, RAID_MAX_DRIVES);
    std::set<uint32_t> recorded;
    for (const auto& drive : shared::drives(group)) recorded.insert(drive.dev_id);
    const std::set<uint32_t> members(made->drive_ids, made->drive_ids + made_of);
    if (members == recorded) return Members::kAll;
    return std::includes(recorded.begin(), recorded.end(), members.begin(), members.end())
               ? Members::kSome
               : Members::kOthers;
}

bool is_surely_of(const ssd_op_db_raid_conf& group, const ssd_op_db_record& record) {
    const Members members = members_of(group);
    return members == Members::kAll || (members == Members::kNone && record.end_time == 0);
}

}  // namespace ssd_op::evaluation
