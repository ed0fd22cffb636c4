#include "evaluation/state/raid_ids.h"

#include "base/file_lock.h"
#include "platform/ini.h"
#include "platform/naslog.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kFunction = "NAS_SSD_OP_Test_Start";
constexpr const char* kFile = "/etc/config/raid.conf";
constexpr const char* kSection = "Global";
constexpr const char* kBitmap = "raidBitmap";

/// A free id at or above `start`, which moves behind it; negative when there is none.
int next_free_id(int& start) {
    for (;;) {
        int id = -1;
        const int result =
            Ini_Conf_Bitmap_Get_Next_Free_Bit(kFile, kSection, kBitmap, &id, start, 0);
        // An id below the search's start would make it run for ever.
        if (result != 0 || id < start) return -1;
        start = id + 1;
        if (RAID_ID_Is_Reserved(id) == 0) return id;
    }
}

bool reserve(RAID_CONF& group, int& start) {
    if ((group.flags & RAID_FLAG_ID_RESERVED) != 0) return true;
    group.raid_id = next_free_id(start);
    if (group.raid_id < 0) return false;
    if (Ini_Conf_Bitmap_Set_Bit(kFile, kSection, kBitmap, group.raid_id) != 0) return false;
    group.flags |= RAID_FLAG_ID_RESERVED;
    return true;
}

}  // namespace

bool reserve_raid_ids(const std::vector<RAID_CONF*>& groups) {
    // Finding an id and taking it must not be parted by another evaluation's start.
    const auto lock = base::FileLock::for_writing(kFile);
    int start = kFirstRaidId;
    for (RAID_CONF* group : groups) {
        if (!reserve(*group, start)) {
            SM_TRACE(SM_TRACE_ERROR, "%s: Cannot get available RAID ID!\n", kFunction);
            return false;
        }
        SM_TRACE(SM_TRACE_INFO, "%s: local_raid_confP->raid_id: %d.\n", kFunction, group->raid_id);
    }
    return true;
}

void remove_raid_configurations(const std::vector<RAID_CONF*>& groups) {
    for (const RAID_CONF* group : groups) {
        if (RAID_Is_Exist(group->raid_id) != 0) RAID_Remove_Conf(group->raid_id);
    }
}

}  // namespace ssd_op::evaluation
