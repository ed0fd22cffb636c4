#include "core/blueprint.h"

#include <algorithm>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "core/partitions.h"
#include "core/query.h"

namespace appliance {

namespace {

/// Bytes that makers agreed on for a nominal size, so that drives of one size match to the block.
uint64_t bytes_of(double size_gb) {
    const double sectors = 97'696'368 + 1'953'504 * (size_gb - 50);
    return static_cast<uint64_t>(std::max(sectors, 1'953'504.0)) * 512;
}

/// sda to sdz, then sdaa and on.
std::string system_name(int position) {
    std::string letters;
    for (int rest = position; rest >= 0; rest = rest / 26 - 1)
        letters.insert(letters.begin(), static_cast<char>('a' + rest % 26));
    return "/dev/sd" + letters;
}

void add_drive(int position, const DriveBlueprint& drive) {
    const unsigned dev_id = drive_id(position);
    const std::string name = system_name(position);
    const uint64_t bytes = bytes_of(drive.size_gb);
    const std::string model =
        drive.model.empty() ? fmt::format("NS510-{:.0f}", drive.size_gb) : drive.model;
    const std::string serial_no = drive.serial_no.empty()
                                      ? fmt::format("NW24{:08X}", 0x51A7'0000u + dev_id * 0x9Du)
                                      : drive.serial_no;
    const std::string wwn =
        drive.wwn.value_or(fmt::format("5a07b2c1{:08x}", 0x40d0'0000u + dev_id));
    change(
        "INSERT INTO drive(dev_id, vendor, model, serial_no, revision, wwn, block_size,"
        " block_count, form_factor, interface_type, rotation_speed, flags, sys_name, log_name,"
        " factory_spare_percent, seed, meta_type, power_on_hours)"
        " VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
        dev_id, drive.vendor, model, serial_no, drive.revision, wwn, drive.block_size,
        bytes / drive.block_size, drive.form_factor, drive.interface_type, drive.rotation_speed,
        drive.flags, name, fmt::format("Disk {}", position + 1), drive.factory_spare_percent,
        1000 + position, drive.meta_type, 120 + 7 * position);
    if (drive.partitioned) partition_drive(dev_id);
}

DriveBlueprint hard_disk() {
    DriveBlueprint disk;
    disk.vendor = "Halden";
    disk.model = "HD2T-7200";
    disk.revision = "HA07";
    disk.size_gb = 2000;
    disk.rotation_speed = 7200;
    disk.flags = 0;
    disk.factory_spare_percent = 0;
    return disk;
}

/// RAID group 1, pool 1 and volume 1 on the two drives that follow the free ones.
void add_system_pool(int position) {
    for (int member = 0; member < 2; ++member) {
        add_drive(position + member, hard_disk());
        change("INSERT INTO raid_drive(raid_id, position, dev_id) VALUES(1, ?, ?)", member,
               drive_id(position + member));
    }
    const auto capacity_kib =
        first("SELECT size_kib FROM partition WHERE dev_id = ? AND part_no = ?", drive_id(position),
              kDataPartition);
    change("INSERT INTO raid(raid_id, raid_level, capacity_kib) VALUES(1, 1, ?)",
           capacity_kib.value_or(0));
    change("INSERT INTO pool(pool_id) VALUES(1)");
    change("INSERT INTO pool_member(pool_id, position, raid_id, striped) VALUES(1, 0, 1, 0)");
    change(
        "INSERT INTO lv(lv_id, pool_id, name, mode, type, sectors)"
        " VALUES(1, 1, '/dev/mapper/lv1', 0, 1, ?)",
        capacity_kib.value_or(0) * 2);
}

void empty_every_table() {
    const auto tables = all<std::string>(
        "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite%'");
    for (const std::string& table : tables) state().exec("DELETE FROM " + table);
}

void install_state(const Blueprint& blueprint) {
    empty_every_table();
    for (int position = 0; position < blueprint.drives; ++position) {
        const auto other = blueprint.others.find(position);
        add_drive(position, other == blueprint.others.end() ? blueprint.drive : other->second);
    }
    if (blueprint.system_pool) add_system_pool(blueprint.drives);
    for (const int raid_id : blueprint.reserved_raid_ids)
        change("INSERT INTO reserved_raid(raid_id) VALUES(?)", raid_id);
    if (blueprint.data_volume) {
        change("INSERT INTO volume(volume_id, path, mounted, default_share) VALUES(1, ?, ?, 1)",
               kDataVolumePath, blueprint.data_volume_mounted ? 1 : 0);
    }
    for (const char* service : {"services", "rsyncd"}) {
        change("INSERT INTO service(name, running) VALUES(?, ?)", service,
               blueprint.services_running ? 1 : 0);
    }
}

}  // namespace

void install(const Blueprint& blueprint) {
    exclusively([&] {
        install_state(blueprint);
        detail::install_files(blueprint);
        return 0;
    });
}

}  // namespace appliance
