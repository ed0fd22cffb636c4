#include "platform/storage_raid.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <vector>

#include <fmt/format.h>

#include "core/call.h"
#include "core/partitions.h"
#include "core/query.h"
#include "provider/ini/file.h"
#include "provider/text.h"
#include "shared/raid_level.h"

namespace appliance {

namespace {

using ssd_op::shared::data_members;

constexpr int kLastRaidId = 4095;  // as many as the id bitmap can hold

std::vector<uint32_t> drives_of(const RAID_CONF& group) {
    std::vector<uint32_t> drives(group.drive_ids, group.drive_ids + group.drive_num);
    drives.insert(drives.end(), group.spare_drive_ids,
                  group.spare_drive_ids + group.spare_drive_num);
    return drives;
}

bool is_free_drive(uint32_t dev_id) {
    return first("SELECT 1 FROM drive WHERE dev_id = ?", dev_id) &&
           !first("SELECT 1 FROM raid_drive WHERE dev_id = ?", dev_id);
}

uint64_t capacity_of(const RAID_CONF& group) {
    uint64_t smallest = UINT64_MAX;
    uint64_t sum = 0;
    for (int member = 0; member < group.drive_num; ++member) {
        const uint64_t partition =
            first<uint64_t>("SELECT size_kib FROM partition WHERE dev_id = ? AND part_no = ?",
                            group.drive_ids[member], kDataPartition)
                .value_or(0);
        const uint64_t offered = partition > kRaidMetadataKib ? partition - kRaidMetadataKib : 0;
        smallest = std::min(smallest, offered);
        sum += offered;
    }
    if (group.raid_level == RAID_LEVEL_JBOD) return sum;
    return smallest * static_cast<uint64_t>(data_members(group.raid_level, group.drive_num));
}

bool fill(RAID_CONF& conf, int raid_id) {
    const auto level = first<int>("SELECT raid_level FROM raid WHERE raid_id = ?", raid_id);
    if (!level) return false;
    RAID_CONF* const next = conf.next;
    conf = RAID_CONF{};
    conf.next = next;
    conf.raid_id = raid_id;
    conf.raid_level = *level;
    conf.flags = RAID_FLAG_ID_RESERVED;
    SQLite::Statement members = statement(
        "SELECT dev_id, spare FROM raid_drive WHERE raid_id = ? ORDER BY spare, position", raid_id);
    while (members.executeStep()) {
        const uint32_t dev_id = members.getColumn(0).getUInt();
        const bool spare = members.getColumn(1).getInt() != 0;
        int& count = spare ? conf.spare_drive_num : conf.drive_num;
        if (count < RAID_MAX_DRIVES)
            (spare ? conf.spare_drive_ids : conf.drive_ids)[count++] = dev_id;
    }
    return true;
}

}  // namespace

bool can_make_raid(const RAID_CONF& group) {
    const bool counts = group.drive_num >= 1 && group.drive_num <= RAID_MAX_DRIVES &&
                        group.spare_drive_num >= 0 && group.spare_drive_num <= RAID_MAX_DRIVES;
    if (!counts || data_members(group.raid_level, group.drive_num) == 0) return false;
    if (group.raid_id < 0 || group.raid_id > kLastRaidId || raid_exists(group.raid_id))
        return false;
    if (first("SELECT 1 FROM reserved_raid WHERE raid_id = ?", group.raid_id)) return false;
    const std::vector<uint32_t> drives = drives_of(group);
    const std::set<uint32_t> distinct(drives.begin(), drives.end());
    return distinct.size() == drives.size() &&
           std::all_of(drives.begin(), drives.end(), is_free_drive);
}

void make_raid(const RAID_CONF& group) {
    change("DELETE FROM removed_raid WHERE raid_id = ?", group.raid_id);
    for (const uint32_t dev_id : drives_of(group)) partition_drive(dev_id);
    change("INSERT INTO raid(raid_id, raid_level, capacity_kib) VALUES(?, ?, ?)", group.raid_id,
           group.raid_level, capacity_of(group));
    const auto add = [&](const uint32_t* drives, int count, int spare) {
        for (int position = 0; position < count; ++position) {
            change("INSERT INTO raid_drive(raid_id, position, dev_id, spare) VALUES(?, ?, ?, ?)",
                   group.raid_id, position, drives[position], spare);
        }
    };
    add(group.drive_ids, group.drive_num, 0);
    add(group.spare_drive_ids, group.spare_drive_num, 1);
}

void remove_raid(int raid_id) {
    change("DELETE FROM raid_drive WHERE raid_id = ?", raid_id);
    change("DELETE FROM raid WHERE raid_id = ?", raid_id);
    change("INSERT OR IGNORE INTO removed_raid(raid_id) VALUES(?)", raid_id);
}

bool raid_exists(int raid_id) {
    return first("SELECT 1 FROM raid WHERE raid_id = ?", raid_id).has_value();
}

uint64_t raid_capacity_kib(int raid_id) {
    return first<uint64_t>("SELECT capacity_kib FROM raid WHERE raid_id = ?", raid_id).value_or(0);
}

/// A group is configured from the moment its id is taken, and no more after it or its configuration
/// was removed, though the id stays taken.
bool raid_is_configured(int raid_id) {
    return !first("SELECT 1 FROM removed_raid WHERE raid_id = ?", raid_id) &&
           provider::ini::is_bit_set("/etc/config/raid.conf", "Global", "raidBitmap", raid_id);
}

int pool_of_raid(int raid_id) {
    return first<int>("SELECT pool_id FROM pool_member WHERE raid_id = ?", raid_id).value_or(-1);
}

}  // namespace appliance

using namespace appliance;

int RAID_ID_Is_Reserved(int raid_id) {
    return call("RAID_ID_Is_Reserved", arguments(raid_id), [&] {
        return first("SELECT 1 FROM reserved_raid WHERE raid_id = ?", raid_id) ? 1 : 0;
    });
}

int RAID_Is_Exist(int raid_id) {
    return call("RAID_Is_Exist", arguments(raid_id),
                [&] { return raid_exists(raid_id) || raid_is_configured(raid_id) ? 1 : 0; });
}

int RAID_Remove_Conf(int raid_id) {
    return call("RAID_Remove_Conf", arguments(raid_id), [&] {
        return exclusively([&] {
            const bool exists = raid_exists(raid_id) || raid_is_configured(raid_id);
            if (!exists || pool_of_raid(raid_id) >= 0) return -1;
            remove_raid(raid_id);
            return 0;
        });
    });
}

int RAID_Get_Info(int raid_id, int flags, RAID_INFO* info) {
    return call("RAID_Get_Info", arguments(raid_id, flags), [&] {
        return exclusively([&] {
            const auto level = first<int>("SELECT raid_level FROM raid WHERE raid_id = ?", raid_id);
            if (info == nullptr || !level) return -1;
            info->raid_id = raid_id;
            info->raid_level = *level;
            info->drive_num =
                first<int>("SELECT count(*) FROM raid_drive WHERE raid_id = ? AND spare = 0",
                           raid_id)
                    .value_or(0);
            info->capacity_kib = raid_capacity_kib(raid_id);
            return 0;
        });
    });
}

int RAID_Get_Conf(int raid_id, RAID_CONF* conf) {
    return call("RAID_Get_Conf", arguments(raid_id), [&] {
        return exclusively([&] { return conf != nullptr && fill(*conf, raid_id) ? 0 : -1; });
    });
}

int RAID_Get_Id_By_Drive(unsigned dev_id) {
    return call("RAID_Get_Id_By_Drive", arguments(dev_id), [&] {
        return first<int>("SELECT raid_id FROM raid_drive WHERE dev_id = ?", dev_id).value_or(-1);
    });
}

int RAID_Force_Speed_Down_Generate_UID(int pid, char* uid, int size) {
    return call("RAID_Force_Speed_Down_Generate_UID", arguments(pid), [&] {
        static int made = 0;
        return provider::hand_out(fmt::format("speed_down_{}_{}", pid, ++made), uid, size);
    });
}

int RAID_Force_Speed_Down_Add(const char* uid) {
    return call("RAID_Force_Speed_Down_Add", arguments(uid), [&] {
        if (uid == nullptr || *uid == '\0') return -1;
        change("INSERT OR IGNORE INTO speed_down(uid) VALUES(?)", uid);
        return 0;
    });
}

int RAID_Force_Speed_Down_Remove(const char* uid) {
    return call("RAID_Force_Speed_Down_Remove", arguments(uid), [&] {
        if (uid == nullptr) return -1;
        return change("DELETE FROM speed_down WHERE uid = ?", uid) == 1 ? 0 : -1;
    });
}

int NAS_Disk_Check_Meta_Type(unsigned dev_id) {
    return call("NAS_Disk_Check_Meta_Type", arguments(dev_id), [&] {
        return first<int>("SELECT meta_type FROM drive WHERE dev_id = ?", dev_id).value_or(-1);
    });
}

int NAS_Disk_Fast_Init(unsigned dev_id, int meta_type) {
    return call("NAS_Disk_Fast_Init", arguments(dev_id, meta_type), [&] {
        return exclusively([&] {
            if (!is_free_drive(dev_id)) return -1;
            partition_drive(dev_id);
            change("UPDATE drive SET meta_type = ? WHERE dev_id = ?", DISK_META_CURRENT, dev_id);
            return 0;
        });
    });
}
