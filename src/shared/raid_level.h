#pragma once

#include "platform/storage.h"

namespace ssd_op::shared {

/// Members whose worth of data a group holds; 0 when the level does not go with so many members.
constexpr int data_members(int level, int members) {
    switch (level) {
        case RAID_LEVEL_JBOD:
        case 0:
            return members > 0 ? members : 0;
        case 1:
            return members >= 1 ? 1 : 0;
        case 5:
            return members >= 3 ? members - 1 : 0;
        case 6:
            return members >= 4 ? members - 2 : 0;
        case 10:
            return members >= 4 && members % 2 == 0 ? members / 2 : 0;
        default:
            return 0;
    }
}

}  // namespace ssd_op::shared
