#include "core/blueprint.h"

#include <cmath>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "core/state.h"

namespace appliance {

namespace {

constexpr uint64_t kKib = 1024;
constexpr uint64_t kPartitionAlignmentKib = 1024;
constexpr uint64_t kSystemPartitionKib = 256 * 1024;  // of each of partitions 1 and 2

/// A statement with its values, run at once.
template <typename... Values>
void run(const char* sql, const Values&... values) {
    SQLite::Statement statement(state(), sql);
    int index = 0;
    (statement.bind(++index, values), ...);
    statement.exec();
}

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

void add_partitions(unsigned dev_id, const std::string& drive_name, uint64_t drive_kib) {
    const auto add = [&](int number, uint64_t start, uint64_t size) {
        run("INSERT INTO partition(dev_id, part_no, name, start_kib, size_kib) VALUES(?, ?, ?, ?, "
            "?)",
            dev_id, number, fmt::format("{}{}", drive_name, number), static_cast<int64_t>(start),
            static_cast<int64_t>(size));
    };
    uint64_t start = kPartitionAlignmentKib;
    for (const int number : {1, 2}) {
        add(number, start, kSystemPartitionKib);
        start += kSystemPartitionKib;
    }
    const uint64_t end = drive_kib / kPartitionAlignmentKib * kPartitionAlignmentKib;
    if (end > start + kPartitionAlignmentKib) add(3, start, end - kPartitionAlignmentKib - start);
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
    run("INSERT INTO drive(dev_id, vendor, model, serial_no, revision, wwn, block_size, "
        "block_count,"
        " form_factor, interface_type, rotation_speed, flags, sys_name, log_name,"
        " factory_spare_percent, seed, meta_type, power_on_hours)"
        " VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
        dev_id, drive.vendor, model, serial_no, drive.revision, wwn, drive.block_size,
        static_cast<int64_t>(bytes / drive.block_size), drive.form_factor, drive.interface_type,
        drive.rotation_speed, drive.flags, name, fmt::format("Disk {}", position + 1),
        drive.factory_spare_percent, 1000 + position, drive.meta_type, 120 + 7 * position);
    if (drive.partitioned) add_partitions(dev_id, name, bytes / kKib);
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
void add_system_pool(int first) {
    for (int member = 0; member < 2; ++member) {
        add_drive(first + member, hard_disk());
        run("INSERT INTO raid_drive(raid_id, position, dev_id) VALUES(1, ?, ?)", member,
            drive_id(first + member));
    }
    SQLite::Statement size(state(),
                           "SELECT size_kib FROM partition WHERE dev_id = ? AND part_no = 3");
    size.bind(1, drive_id(first));
    const int64_t capacity_kib = size.executeStep() ? size.getColumn(0).getInt64() : 0;
    run("INSERT INTO raid(raid_id, raid_level, capacity_kib) VALUES(1, 1, ?)", capacity_kib);
    run("INSERT INTO pool(pool_id) VALUES(1)");
    run("INSERT INTO pool_member(pool_id, position, raid_id, striped) VALUES(1, 0, 1, 0)");
    run("INSERT INTO lv(lv_id, pool_id, name, mode, type, sectors)"
        " VALUES(1, 1, '/dev/mapper/lv1', 0, 1, ?)",
        capacity_kib * 2);
}

void empty_every_table() {
    std::vector<std::string> tables;
    SQLite::Statement query(
        state(), "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite%'");
    while (query.executeStep()) tables.push_back(query.getColumn(0).getString());
    query.reset();
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
        run("INSERT INTO reserved_raid(raid_id) VALUES(?)", raid_id);
    if (blueprint.data_volume) {
        run("INSERT INTO volume(volume_id, path, mounted, default_share) VALUES(1, ?, ?, 1)",
            kDataVolumePath, blueprint.data_volume_mounted ? 1 : 0);
    }
    for (const char* service : {"services", "rsyncd"}) {
        run("INSERT INTO service(name, running) VALUES(?, ?)", service,
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
