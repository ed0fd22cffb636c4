#include "model/drive.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <set>
#include <string_view>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <strings.h>

#include "model/leftover.h"
#include "model/record.h"
#include "model/snapshot.h"
#include "output/failure.h"
#include "output/text.h"
#include "platform/hal.h"
#include "platform/storage.h"
#include "shared/drive_id.h"

namespace cli {

namespace {

constexpr int kMostDrives = 3072;

std::string text_of(int (*get)(int, int, char*, int), shared::Slot slot) {
    std::array<char, 128> text{};
    const int result = get(slot.enclosure, slot.port, text.data(), static_cast<int>(text.size()));
    return result == 0 ? text.data() : "";
}

uint64_t data_size(shared::Slot slot, uint64_t whole) {
    PART_INFO part{};
    const auto [enclosure, port] = slot;
    if (Part_Is_Exist_V2(enclosure, port, shared::kDataPartition) != 0 &&
        Part_Get_Info(enclosure, port, shared::kDataPartition, &part) == 0) {
        return part.size_kib * 1024;
    }
    return whole;
}

Drive load_drive(uint32_t id) {
    PD_INFO info{};
    const shared::Slot slot = shared::slot_of(id);
    PD_Get_Info(slot.enclosure, slot.port, &info);
    Drive drive{};
    drive.id = id;
    drive.device = text_of(PD_Get_Sys_Name, slot);
    drive.slot = text_of(PD_Get_Log_Name, slot);
    drive.vendor = info.vendor;
    drive.model = info.model;
    drive.serial_no = info.serial_no;
    drive.firmware = info.revision;
    drive.capacity_bytes = info.block_count * info.block_size;
    drive.data_bytes = data_size(slot, drive.capacity_bytes);
    drive.is_ssd = (info.flags & PD_FLAG_SSD) != 0;
    drive.is_fast = info.interface_type == PD_INTERFACE_NVME;
    drive.raid_id = RAID_Get_Id_By_Drive(id);
    drive.pool_id = drive.raid_id < 0 ? -1 : Pool_Get_Id_By_Member_Id(drive.raid_id);
    return drive;
}

/// Which evaluation has it, or had it. All running ones are looked at, not the newest alone.
void add_evaluations(std::vector<Drive>& drives) {
    std::map<uint32_t, int> evaluations;  // 0 for what is in none, as in `left`
    std::set<int> broken_off;
    const std::vector<Record> records = load_records();
    for (const Record& record : records) {
        if (!is_running(record->status)) continue;
        if (has_broken_off(*record)) broken_off.insert(record->record_no);
        for (const ssd_op_db_ssd_dev* drive : drives_of(*record))
            evaluations[drive->dev_id] = record->record_no;
    }
    std::map<int, int> left = left_groups(records);
    for (Drive& drive : drives) {
        drive.record_no = evaluations[drive.id];
        drive.broken_off = broken_off.contains(drive.record_no);
        if (drive.record_no == 0) drive.left_by = left[drive.raid_id];
    }
}

bool is_named(const Drive& drive, const std::string& name) {
    if (drive.device == name || drive.device == "/dev/" + name) return true;
    if (::strcasecmp(drive.slot.c_str(), name.c_str()) == 0) return true;
    return name == fmt::format("{}", drive.id) || name == fmt::format("{:#x}", drive.id) ||
           name == fmt::format("{:#010x}", drive.id);
}

}  // namespace

std::vector<Drive> load_drives() {
    std::vector<unsigned> ids(kMostDrives);
    const int count = PD_Enumerate(ids.data(), kMostDrives);
    if (count < 0)
        throw Failure(kFailed, "The platform does not tell which drives there are.",
                      "Outside an appliance there are none to be told of: see ssd-op-appliance, or "
                      "appliance/enter. On one, its trace log tells why.");
    ids.resize(static_cast<size_t>(count));
    std::vector<Drive> drives;
    for (const unsigned id : ids) drives.push_back(load_drive(id));
    add_evaluations(drives);
    return drives;
}

std::string no_drives() {
    const char* const provider = std::getenv("SSD_OP_PROVIDER");
    if (provider == nullptr || std::string_view(provider) != "host")
        return "The appliance has no drives.";
    return "No drive of this host was given. ssd-op --host drives list tells which there are, and "
           "ssd-op --host drives enroll SERIAL gives one.";
}

const Drive& find_drive(const std::vector<Drive>& drives, const std::string& name) {
    const auto found = std::find_if(drives.begin(), drives.end(),
                                    [&](const Drive& drive) { return is_named(drive, name); });
    if (found != drives.end()) return *found;
    std::vector<std::string> names;
    for (const Drive& drive : drives) names.push_back(drive.device);
    throw Failure(kNotFound, fmt::format("There is no drive \"{}\".", printable(name)),
                  names.empty() ? no_drives()
                                : fmt::format("Present: {}. ssd-op drives tells more.",
                                              fmt::join(names, ", ")));
}

std::string use_of(const Drive& drive) {
    if (drive.broken_off)
        return as_called(fmt::format("in evaluation {0}, broken off; ssd-op stop {0} frees it",
                                     drive.record_no));
    if (drive.record_no != 0) return fmt::format("in evaluation {}", drive.record_no);
    if (drive.left_by != 0)
        return as_called(
            fmt::format("left by evaluation {0}; ssd-op stop {0} frees it", drive.left_by));
    if (drive.pool_id >= 0)
        return fmt::format("in pool {} (RAID group {})", drive.pool_id, drive.raid_id);
    if (drive.raid_id >= 0) return fmt::format("in RAID group {}", drive.raid_id);
    return drive.is_ssd ? "free" : "not an SSD";
}

}  // namespace cli
