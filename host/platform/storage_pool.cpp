/// Pools: volume groups.

#include <algorithm>
#include <set>

#include "core/failure.h"
#include "platform/storage.h"
#include "platform/storage_ids.h"
#include "provider/call.h"
#include "shared/raid_level.h"
#include "storage/array.h"
#include "storage/layout.h"
#include "storage/pool.h"
#include "storage/undoing.h"
#include "storage/unique.h"
#include "storage/volume.h"
#include "taking/taking.h"
#include "undo/owner.h"

using namespace host;
using provider::arguments;
using provider::call;

namespace {

constexpr int kLastPoolId = 256;
constexpr int kLastRaidId = 4095;  // as many as the id bitmap can hold
constexpr int kHasVolumes = -16;

int next_pool_id(const UndoList& undo) {
    for (int id = 1; id <= kLastPoolId; ++id) {
        if (!find_pool_record(undo, id)) return id;
    }
    return -1;
}

std::vector<std::string> serials_of(const Roots& roots, const uint32_t* ids, int count) {
    std::vector<std::string> serials;
    for (int i = 0; i < count; ++i) serials.push_back(serial_in(roots, ids[i]));
    return serials;
}

ArrayRecord record_of(const Roots& roots, const RAID_CONF& group) {
    const auto possible = [](int count, int least) {
        return count >= least && count <= RAID_MAX_DRIVES;
    };
    if (!possible(group.drive_num, 1) || !possible(group.spare_drive_num, 0) ||
        ssd_op::shared::data_members(group.raid_level, group.drive_num) == 0)
        throw Failure("The level does not go with so many drives.", "Ask for another one.");
    return {group.raid_id,
            group.raid_level,
            new_md_uuid(),
            serials_of(roots, group.drive_ids, group.drive_num),
            serials_of(roots, group.spare_drive_ids, group.spare_drive_num),
            this_process(roots)};
}

/// The groups are checked before the first is made, and against each other.
std::vector<ArrayRecord> records_of(const Roots& roots, const UndoList& undo,
                                    const RAID_CONF* groups) {
    std::vector<ArrayRecord> records;
    std::set<std::string> serials;
    std::set<int> ids;
    const auto is_free = [&](const std::string& serial) {
        return serials.insert(serial).second && !array_with(undo, serial);
    };
    for (const RAID_CONF* group = groups; group != nullptr; group = group->next) {
        const int id = group->raid_id;
        if (id < 0 || id > kLastRaidId || find_array_record(undo, id) || !ids.insert(id).second)
            throw Failure("The id of a RAID group is taken.", "Ask for another one.");
        records.push_back(record_of(roots, *group));
        const ArrayRecord& record = records.back();
        if (!std::all_of(record.members.begin(), record.members.end(), is_free) ||
            !std::all_of(record.spares.begin(), record.spares.end(), is_free))
            throw Failure("A drive is asked for twice, or in a group.", "Leave it out.");
    }
    if (records.empty()) throw Failure("There is no group to make a pool of.", "Name drives.");
    return records;
}

/// All drives are had before the first is written to.
void prepare_drives(const Roots& roots, UndoList& undo, const std::vector<ArrayRecord>& records) {
    std::vector<HeldDrive> held;
    for (const ArrayRecord& record : records) {
        for (const auto* serials : {&record.members, &record.spares}) {
            for (const std::string& serial : *serials)
                held.push_back(take(roots, undo, drive_with_serial(roots, serial)));
        }
    }
    for (const HeldDrive& drive : held) lay_out(roots, undo, drive);
}

int create_pool(const RAID_CONF* groups) {
    const Roots roots;
    UndoList undo(roots);
    const auto records = records_of(roots, undo, groups);
    PoolRecord pool{next_pool_id(undo), {}, new_lvm_tag(), {}, this_process(roots)};
    if (pool.id < 0) return -1;
    all_or_nothing(roots, undo, [&] {
        prepare_drives(roots, undo, records);
        for (const ArrayRecord& record : records) {
            set_raid_removed(roots, record.id, false);
            make_array(roots, undo, record);
            pool.arrays.push_back(record.id);
        }
        make_pool(roots, undo, pool);
    });
    return pool.id;
}

int destroy_pool(int pool_id) {
    const Roots roots;
    UndoList undo(roots);
    const auto pool = find_pool_record(undo, pool_id);
    if (!pool) return -1;
    for (const VolumeRecord& volume : volumes_in(undo)) {
        if (volume.pool == pool_id) return kHasVolumes;
    }
    remove_pool(roots, undo, pool_id);
    for (const int raid_id : pool->arrays) remove_group(roots, undo, raid_id);
    return 0;
}

/// Of a pool that is there.
std::optional<PoolRecord> find_pool(const Roots& roots, const UndoList& undo, int pool_id) {
    auto pool = find_pool_record(undo, pool_id);
    if (pool && !pool_is_there(roots, undo, *pool)) pool.reset();
    return pool;
}

int member_of(int pool_id, int index, POOL_MEMBER& member) {
    const Roots roots;
    const auto pool = find_pool(roots, UndoList(roots), pool_id);
    if (!pool || index < 0 || static_cast<size_t>(index) >= pool->arrays.size()) return -1;
    member = {pool->arrays[static_cast<size_t>(index)], pool->arrays.size() > 1 ? 1 : 0};
    return 0;
}

int volumes_of(int pool_id, int* ids, int max) {
    const Roots roots;
    const UndoList undo(roots);
    std::set<int> found;
    for (const VolumeRecord& volume : volumes_in(undo)) {
        if (volume.pool == pool_id && find_volume(roots, undo, volume)) found.insert(volume.id);
    }
    int count = 0;
    for (const int id : found) {
        if (count < max) ids[count++] = id;
    }
    return count;
}

int round_down(int pool_id, uint64_t& sectors) {
    const Roots roots;
    const auto pool = find_pool(roots, UndoList(roots), pool_id);
    if (!pool) return -1;
    const uint64_t least = pool->arrays.size() * kExtentBytes;
    sectors = std::max(possible_bytes(*pool, sectors * 512), least) / 512;
    return 0;
}

}  // namespace

int Pool_Get_Next_Available_Id(int flags, int kind) {
    return call("Pool_Get_Next_Available_Id", arguments(flags, kind),
                [] { return next_pool_id(UndoList(Roots{})); });
}

int Pool_Get_Id_By_Member_Id(int raid_id) {
    return call("Pool_Get_Id_By_Member_Id", arguments(raid_id), [&] {
        const auto pool = pool_over(UndoList(Roots{}), raid_id);
        return pool ? pool->id : -1;
    });
}

int Pool_Get_Member_Count(int pool_id) {
    return call("Pool_Get_Member_Count", arguments(pool_id), [&] {
        const Roots roots;
        const auto pool = find_pool(roots, UndoList(roots), pool_id);
        return pool ? static_cast<int>(pool->arrays.size()) : -1;
    });
}

int Pool_Get_Dev_Member(int pool_id, int index, POOL_MEMBER* member) {
    return call("Pool_Get_Dev_Member", arguments(pool_id, index),
                [&] { return member == nullptr ? -1 : member_of(pool_id, index, *member); });
}

int Pool_Enumerate_LV(int pool_id, int* lv_ids, int max, int flags, int kind) {
    return call("Pool_Enumerate_LV", arguments(pool_id, max, flags, kind), [&] {
        return lv_ids == nullptr || max < 0 ? -1 : volumes_of(pool_id, lv_ids, max);
    });
}

int Pool_Calc_LV_Small_Create_Size(int pool_id, uint64_t* sectors) {
    return call("Pool_Calc_LV_Small_Create_Size", arguments(pool_id, sectors ? *sectors : 0),
                [&] { return sectors == nullptr ? -1 : round_down(pool_id, *sectors); });
}

int NAS_Pool_Create(RAID_CONF* groups, int flags, int kind, const POOL_CREATE_OPTIONS* options,
                    void*) {
    const int owner = options != nullptr ? options->owner : -1;
    return call("NAS_Pool_Create",
                arguments(groups != nullptr ? groups->raid_id : -1, flags, kind, owner),
                [&] { return create_pool(groups); });
}

int NAS_Pool_Remove(int pool_id, int flags, int kind) {
    return call("NAS_Pool_Remove", arguments(pool_id, flags, kind),
                [&] { return destroy_pool(pool_id); });
}
