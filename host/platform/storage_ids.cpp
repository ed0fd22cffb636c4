#include "platform/storage_ids.h"

#include <algorithm>

#include <fmt/format.h>

#include "core/failure.h"
#include "enrolment/given.h"
#include "platform/naslog.h"
#include "provider/call.h"
#include "provider/ini/file.h"
#include "storage/array.h"
#include "storage/idle_drives.h"

namespace host {

namespace {

constexpr const char* kRemoved = "removed_groups.json";

/// Nobody waits for it: whoever has stopped the evaluation reads the events.
void tell_kept(const std::string& serial, const Failure& why) {
    provider::tell_failure("giving back", serial, why);
    NASLOG_EVENT event{};
    event.type = NASLOG_WARNING;
    std::string text = fmt::format("The drive {} stays taken until ssd-op --host cleanup: {} {}",
                                   serial, why.what(), why.next_step());
    std::replace(text.begin(), text.end(), '\n', ' ');  // of a list of reasons
    text.copy(event.description, sizeof event.description - 1);
    naslog_event_add(&event);
}

}  // namespace

std::string serial_in(const Roots& roots, uint32_t dev_id) {
    const auto drive = given_drive(roots, dev_id);
    if (drive) return drive->identity.serial;
    throw Failure(
        fmt::format("No enrolled drive is in slot {}:{}.", dev_id >> 16, dev_id & 0xFFFFU),
        "See ssd-op-host drives list.");
}

std::vector<uint32_t> dev_ids_of(const Roots& roots, const std::vector<std::string>& serials) {
    const auto given = given_drives(roots);
    std::vector<uint32_t> ids;
    for (const std::string& serial : serials) {
        for (const GivenDrive& drive : given) {
            if (drive.drive.identity.serial == serial) ids.push_back(drive.id());
        }
    }
    return ids;
}

bool raid_is_configured(const Roots& roots, int raid_id) {
    const Json removed = Store(roots, kRemoved).read(Json::array());
    return std::find(removed.begin(), removed.end(), Json(raid_id)) == removed.end() &&
           provider::ini::is_bit_set("/etc/config/raid.conf", "Global", "raidBitmap", raid_id);
}

void set_raid_removed(const Roots& roots, int raid_id, bool removed) {
    Store store(roots, kRemoved);
    Json ids = Json::array();
    for (const Json& id : store.read(Json::array())) {
        if (id != Json(raid_id)) ids.push_back(id);
    }
    if (removed) ids.push_back(raid_id);
    store.write(ids);
}

void remove_group(const Roots& roots, UndoList& undo, int raid_id) {
    std::vector<std::string> drives;
    if (const auto record = find_array_record(undo, raid_id)) {
        remove_array(roots, undo, raid_id);
        drives = serials_of(*record);
    }
    give_drives_back(roots, undo, drives, tell_kept);
    set_raid_removed(roots, raid_id, true);
}

}  // namespace host
