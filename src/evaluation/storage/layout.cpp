#include "evaluation/drives/groups.h"
#include "evaluation/storage/storage.h"
#include "platform/naslog.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kFunction = "SSD_OP_Test_Check_RAID";

/// The number of the rule that a group's level breaks for its member count; 0: none.
int broken_rule(const RAID_CONF& group) {
    const int members = group.drive_num;
    const int level = group.raid_level;
    const bool possible = members >= 0 && members <= RAID_MAX_DRIVES;
    switch (members) {
        case 1:
            return level == 1 ? 0 : 1;
        case 2:
            return level == 0 || level == 1 ? 0 : 4;
        case 3:
            return level == 0 || level == 5 ? 0 : 2;
        default:
            break;
    }
    const bool fits = possible && (level == 0 || level == 5 || level == 6);
    if (members % 2 != 0) return fits ? 0 : 3;
    return fits || (possible && level == 10) ? 0 : 5;
}

}  // namespace

bool is_valid_layout(RAID_CONF* raid_list) {
    const auto groups = groups_of(raid_list);
    if (groups.empty() || groups.back()->next != nullptr) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Parameters may be invalid\n", kFunction);
        return false;
    }
    for (const RAID_CONF* group : groups) {
        if (const int rule = broken_rule(*group); rule != 0) {
            SM_TRACE(SM_TRACE_ERROR, "%s: Parameters may be invalid %d.\n", kFunction, rule);
            return false;
        }
    }
    return true;
}

}  // namespace ssd_op::evaluation
