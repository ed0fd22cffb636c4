#include "platform/storage_pool.h"

#include <algorithm>
#include <set>
#include <vector>

#include <time.h>

#include "core/call.h"
#include "core/query.h"
#include "platform/storage.h"
#include "platform/storage_raid.h"

namespace appliance {

namespace {

constexpr int kLastPoolId = 256;

int next_pool_id() {
    const std::vector<int> taken = all<int>("SELECT pool_id FROM pool ORDER BY pool_id");
    int id = 1;
    for (const int pool_id : taken) id += pool_id == id ? 1 : 0;
    return id <= kLastPoolId ? id : -1;
}

/// The groups are checked before the first is made, and against each other.
bool can_make_all(const RAID_CONF* groups) {
    std::set<uint32_t> drives;
    std::set<int> ids;
    for (const RAID_CONF* group = groups; group != nullptr; group = group->next) {
        if (!can_make_raid(*group) || !ids.insert(group->raid_id).second) return false;
        for (int member = 0; member < group->drive_num; ++member)
            if (!drives.insert(group->drive_ids[member]).second) return false;
        for (int spare = 0; spare < group->spare_drive_num; ++spare)
            if (!drives.insert(group->spare_drive_ids[spare]).second) return false;
    }
    return true;
}

int make_pool(const RAID_CONF* groups) {
    const int pool_id = next_pool_id();
    if (groups == nullptr || pool_id < 0 || !can_make_all(groups)) return -1;
    change("INSERT INTO pool(pool_id) VALUES(?)", pool_id);
    const int striped = groups->next != nullptr ? 1 : 0;
    int position = 0;
    for (const RAID_CONF* group = groups; group != nullptr; group = group->next) {
        make_raid(*group);
        change("INSERT INTO pool_member(pool_id, position, raid_id, striped) VALUES(?, ?, ?, ?)",
               pool_id, position++, group->raid_id, striped);
    }
    return pool_id;
}

int remove_pool(int pool_id) {
    if (!pool_exists(pool_id)) return -1;
    if (first("SELECT 1 FROM lv WHERE pool_id = ?", pool_id)) return -16;
    for (const int raid_id : all<int>("SELECT raid_id FROM pool_member WHERE pool_id = ?", pool_id))
        remove_raid(raid_id);
    change("DELETE FROM pool_member WHERE pool_id = ?", pool_id);
    change("DELETE FROM pool WHERE pool_id = ?", pool_id);
    return 0;
}

/// Assembling a group and taking it apart are not done in an instant; while that lasts, other calls
/// are not kept waiting.
void take_seconds(int seconds) {
    const timespec pause{seconds, 0};
    ::nanosleep(&pause, nullptr);
}

}  // namespace

bool pool_exists(int pool_id) {
    return first("SELECT 1 FROM pool WHERE pool_id = ?", pool_id).has_value();
}

uint64_t pool_capacity_sectors(int pool_id) {
    const std::vector<uint64_t> members = all<uint64_t>(
        "SELECT raid.capacity_kib FROM pool_member JOIN raid USING(raid_id) WHERE pool_id = ?",
        pool_id);
    if (members.empty()) return 0;
    // Several groups are striped, so that each gives as much as the smallest.
    const uint64_t kib = *std::min_element(members.begin(), members.end()) * members.size();
    const uint64_t extents = kib * 2 / kExtentSectors;
    return extents > 1 ? (extents - 1) * kExtentSectors : 0;
}

uint64_t pool_free_sectors(int pool_id) {
    const uint64_t capacity = pool_capacity_sectors(pool_id);
    const uint64_t used =
        first<uint64_t>("SELECT sum(sectors) FROM lv WHERE pool_id = ?", pool_id).value_or(0);
    return capacity > used ? capacity - used : 0;
}

}  // namespace appliance

using namespace appliance;

int Pool_Get_Next_Available_Id(int flags, int kind) {
    return call("Pool_Get_Next_Available_Id", arguments(flags, kind),
                [] { return next_pool_id(); });
}

int Pool_Get_Id_By_Member_Id(int raid_id) {
    return call("Pool_Get_Id_By_Member_Id", arguments(raid_id),
                [&] { return pool_of_raid(raid_id); });
}

int Pool_Get_Member_Count(int pool_id) {
    return call("Pool_Get_Member_Count", arguments(pool_id), [&] {
        if (!pool_exists(pool_id)) return -1;
        return first<int>("SELECT count(*) FROM pool_member WHERE pool_id = ?", pool_id)
            .value_or(0);
    });
}

int Pool_Get_Dev_Member(int pool_id, int index, POOL_MEMBER* member) {
    return call("Pool_Get_Dev_Member", arguments(pool_id, index), [&] {
        SQLite::Statement query =
            statement("SELECT raid_id, striped FROM pool_member WHERE pool_id = ? AND position = ?",
                      pool_id, index);
        if (member == nullptr || !query.executeStep()) return -1;
        member->raid_id = query.getColumn(0).getInt();
        member->striped = query.getColumn(1).getInt();
        return 0;
    });
}

int Pool_Enumerate_LV(int pool_id, int* lv_ids, int max, int flags, int kind) {
    return call("Pool_Enumerate_LV", arguments(pool_id, max, flags, kind), [&] {
        if (lv_ids == nullptr || max < 0) return -1;
        const std::vector<int> ids =
            all<int>("SELECT lv_id FROM lv WHERE pool_id = ? ORDER BY lv_id LIMIT ?", pool_id, max);
        std::copy(ids.begin(), ids.end(), lv_ids);
        return static_cast<int>(ids.size());
    });
}

int Pool_Calc_LV_Small_Create_Size(int pool_id, uint64_t* sectors) {
    return call("Pool_Calc_LV_Small_Create_Size", arguments(pool_id, sectors ? *sectors : 0), [&] {
        return exclusively([&] {
            if (sectors == nullptr || !pool_exists(pool_id)) return -1;
            *sectors = std::max(*sectors / kExtentSectors, uint64_t{1}) * kExtentSectors;
            return 0;
        });
    });
}

int NAS_Pool_Create(RAID_CONF* groups, int flags, int kind, const POOL_CREATE_OPTIONS* options,
                    void*) {
    const int owner = options != nullptr ? options->owner : -1;
    return call("NAS_Pool_Create",
                arguments(groups != nullptr ? groups->raid_id : -1, flags, kind, owner), [&] {
                    take_seconds(2);
                    return exclusively([&] { return make_pool(groups); });
                });
}

int NAS_Pool_Remove(int pool_id, int flags, int kind) {
    return call("NAS_Pool_Remove", arguments(pool_id, flags, kind), [&] {
        take_seconds(1);
        return exclusively([&] { return remove_pool(pool_id); });
    });
}
