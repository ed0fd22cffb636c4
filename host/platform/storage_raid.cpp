/// RAID groups: md arrays. Also the layout of drives.

#include <algorithm>

#include <fmt/format.h>

#include "core/failure.h"
#include "enrolment/given.h"
#include "platform/storage.h"
#include "platform/storage_ids.h"
#include "provider/call.h"
#include "provider/text.h"
#include "storage/array.h"
#include "storage/layout.h"
#include "storage/undoing.h"
#include "taking/taking.h"

using namespace host;
using provider::arguments;
using provider::call;

namespace {

constexpr int kOtherLayout = 0;

bool is_running(const Roots& roots, const UndoList& undo, int raid_id) {
    const auto record = find_array_record(undo, raid_id);
    return record && running_array(roots, *record);
}

int info_of(int raid_id, RAID_INFO& info) {
    const Roots roots;
    const UndoList undo(roots);
    const auto record = find_array_record(undo, raid_id);
    const auto array = record ? running_array(roots, *record) : std::nullopt;
    if (!array) return -1;
    info = {raid_id, record->level, static_cast<int>(record->members.size()), array->bytes / 1024};
    return 0;
}

int put(const std::vector<uint32_t>& ids, uint32_t (&list)[RAID_MAX_DRIVES]) {
    const size_t count = std::min<size_t>(ids.size(), RAID_MAX_DRIVES);
    std::copy_n(ids.begin(), count, list);
    return static_cast<int>(count);
}

int conf_of(int raid_id, RAID_CONF& conf) {
    const Roots roots;
    const UndoList undo(roots);
    if (!is_running(roots, undo, raid_id)) return -1;
    const auto record = find_array_record(undo, raid_id);
    RAID_CONF* const next = conf.next;
    conf = RAID_CONF{};
    conf.next = next;
    conf.raid_id = raid_id;
    conf.raid_level = record->level;
    conf.flags = RAID_FLAG_ID_RESERVED;
    conf.drive_num = put(dev_ids_of(roots, record->members), conf.drive_ids);
    conf.spare_drive_num = put(dev_ids_of(roots, record->spares), conf.spare_drive_ids);
    return 0;
}

int remove_conf(int raid_id) {
    const Roots roots;
    UndoList undo(roots);
    const bool exists = find_array_record(undo, raid_id) || raid_is_configured(roots, raid_id);
    if (!exists || pool_over(undo, raid_id)) return -1;
    remove_group(roots, undo, raid_id);
    return 0;
}

int initialise(uint32_t dev_id) {
    const Roots roots;
    UndoList undo(roots);
    const std::string serial = serial_in(roots, dev_id);
    if (array_with(undo, serial)) return -1;
    all_or_nothing(roots, undo, [&] {
        lay_out(roots, undo, take(roots, undo, drive_with_serial(roots, serial)));
    });
    return 0;
}

}  // namespace

int RAID_ID_Is_Reserved(int raid_id) {
    return call("RAID_ID_Is_Reserved", arguments(raid_id), [] { return 0; });
}

int RAID_Is_Exist(int raid_id) {
    return call("RAID_Is_Exist", arguments(raid_id), [&] {
        const Roots roots;
        return is_running(roots, UndoList(roots), raid_id) || raid_is_configured(roots, raid_id)
                   ? 1
                   : 0;
    });
}

int RAID_Remove_Conf(int raid_id) {
    return call("RAID_Remove_Conf", arguments(raid_id), [&] { return remove_conf(raid_id); });
}

int RAID_Get_Info(int raid_id, int flags, RAID_INFO* info) {
    return call("RAID_Get_Info", arguments(raid_id, flags),
                [&] { return info == nullptr ? -1 : info_of(raid_id, *info); });
}

int RAID_Get_Conf(int raid_id, RAID_CONF* conf) {
    return call("RAID_Get_Conf", arguments(raid_id),
                [&] { return conf == nullptr ? -1 : conf_of(raid_id, *conf); });
}

int RAID_Get_Id_By_Drive(unsigned dev_id) {
    return call("RAID_Get_Id_By_Drive", arguments(dev_id), [&] {
        const Roots roots;
        const auto drive = given_drive(roots, dev_id);
        const auto array = drive ? array_with(UndoList(roots), drive->identity.serial)
                                 : std::optional<ArrayRecord>();
        return array ? array->id : -1;
    });
}

// md rebuilds nothing here: groups are made clean and frozen, and live as long as an evaluation.

int RAID_Force_Speed_Down_Generate_UID(int pid, char* uid, int size) {
    return call("RAID_Force_Speed_Down_Generate_UID", arguments(pid), [&] {
        static int made = 0;
        return provider::hand_out(fmt::format("speed_down_{}_{}", pid, ++made), uid, size);
    });
}

int RAID_Force_Speed_Down_Add(const char* uid) {
    return call("RAID_Force_Speed_Down_Add", arguments(uid),
                [&] { return uid == nullptr || *uid == '\0' ? -1 : 0; });
}

int RAID_Force_Speed_Down_Remove(const char* uid) {
    return call("RAID_Force_Speed_Down_Remove", arguments(uid),
                [&] { return uid == nullptr || *uid == '\0' ? -1 : 0; });
}

int NAS_Disk_Check_Meta_Type(unsigned dev_id) {
    return call("NAS_Disk_Check_Meta_Type", arguments(dev_id), [&] {
        const Roots roots;
        const auto drive = given_drive(roots, dev_id);
        if (!drive) return -1;
        return has_our_layout(roots, UndoList(roots), *drive) ? DISK_META_CURRENT : kOtherLayout;
    });
}

int NAS_Disk_Fast_Init(unsigned dev_id, int meta_type) {
    return call("NAS_Disk_Fast_Init", arguments(dev_id, meta_type),
                [&] { return initialise(dev_id); });
}
