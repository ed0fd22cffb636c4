#include "enrolment/enrolled.h"

#include <algorithm>

#include "core/failure.h"
#include "core/store.h"

namespace host {

namespace {

constexpr const char* kFile = "enrolled.json";

Json to_json(const Enrolled& drive) {
    return {{"serial", drive.serial}, {"wwn", drive.wwn},   {"model", drive.model},
            {"bytes", drive.bytes},   {"wipe", drive.wipe}, {"since", drive.since}};
}

Enrolled from_json(const Json& entry, const std::string& file) {
    try {
        Enrolled drive{entry.at("serial"), entry.at("wwn"),  entry.at("model"),
                       entry.at("bytes"),  entry.at("wipe"), entry.at("since")};
        if (!drive.serial.empty()) return drive;
    } catch (const Json::exception&) {
        // Half of an entry gives no drive away.
    }
    throw Failure("The enrolled drives in " + file + " are damaged.",
                  "Move the file away and enroll the drives again.");
}

std::vector<Enrolled> drives_in(const Store& store) {
    std::vector<Enrolled> drives;
    for (const Json& entry : store.read(Json::array()))
        drives.push_back(from_json(entry, store.path()));
    return drives;
}

void write(Store& store, const std::vector<Enrolled>& drives) {
    Json entries = Json::array();
    for (const Enrolled& drive : drives) entries.push_back(to_json(drive));
    store.write(entries);
}

size_t erase(std::vector<Enrolled>& drives, const std::string& serial) {
    return std::erase_if(drives, [&](const Enrolled& drive) { return drive.serial == serial; });
}

}  // namespace

bool Enrolled::is(const Drive& drive) const {
    return serial == drive.identity.serial && wwn == drive.identity.wwn &&
           model == drive.identity.model && bytes == drive.bytes;
}

std::vector<Enrolled> enrolled_drives(const Roots& roots) { return drives_in(Store(roots, kFile)); }

void store_enrolled(const Roots& roots, const Enrolled& drive) {
    Store store(roots, kFile);
    std::vector<Enrolled> drives = drives_in(store);
    erase(drives, drive.serial);
    drives.push_back(drive);
    write(store, drives);
}

void end_wipe(const Roots& roots, const std::string& serial) {
    Store store(roots, kFile);
    std::vector<Enrolled> drives = drives_in(store);
    const auto found = std::find_if(drives.begin(), drives.end(), [&](const Enrolled& drive) {
        return drive.serial == serial && drive.wipe;
    });
    if (found == drives.end()) return;
    found->wipe = false;
    write(store, drives);
}

bool remove_enrolled(const Roots& roots, const std::string& serial) {
    Store store(roots, kFile);
    std::vector<Enrolled> drives = drives_in(store);
    if (erase(drives, serial) == 0) return false;
    write(store, drives);
    return true;
}

}  // namespace host
