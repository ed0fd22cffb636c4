#include "base/boundary.h"
#include "evaluation/drives/groups.h"
#include "evaluation/state/status.h"
#include "platform/naslog.h"

namespace {

constexpr const char* kCheckRaid = "SSD_OP_Test_Check_RAID";
constexpr int kBadLayout = -13;

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

int check_raid(RAID_CONF* raid_list) {
    const auto groups = ssd_op::evaluation::groups_of(raid_list);
    if (groups.empty() || groups.back()->next != nullptr) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Parameters may be invalid\n", kCheckRaid);
        return kBadLayout;
    }
    for (const RAID_CONF* group : groups) {
        if (const int rule = broken_rule(*group); rule != 0) {
            SM_TRACE(SM_TRACE_ERROR, "%s: Parameters may be invalid %d.\n", kCheckRaid, rule);
            return kBadLayout;
        }
    }
    return 0;
}

}  // namespace

extern "C" int SSD_OP_Test_Check_RAID(RAID_CONF* raid_list) {
    return ssd_op::base::guarded(kCheckRaid, kBadLayout, [&] { return check_raid(raid_list); });
}
