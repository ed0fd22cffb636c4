#include "device/target.h"

#include "core/partitions.h"
#include "core/query.h"
#include "core/raid_metadata.h"
#include "platform/hal.h"

namespace appliance {

namespace {

constexpr uint64_t kKib = 1024;
constexpr uint64_t kSector = 512;

bool is_solid_state(unsigned dev_id) {
    return (first<unsigned>("SELECT flags FROM drive WHERE dev_id = ?", dev_id).value_or(0) &
            PD_FLAG_SSD) != 0;
}

Target over_one_drive(const std::string& name, unsigned dev_id, flash::Range range) {
    return {name, range.length, {{flash::Level::raid1, {{dev_id, range}}}}, is_solid_state(dev_id)};
}

std::optional<Target> find_drive(const std::string& name) {
    SQLite::Statement query =
        statement("SELECT dev_id, block_count * block_size FROM drive WHERE sys_name = ?", name);
    if (!query.executeStep()) return std::nullopt;
    const auto bytes = static_cast<uint64_t>(query.getColumn(1).getInt64());
    return over_one_drive(name, query.getColumn(0).getUInt(), {0, bytes});
}

std::optional<Target> find_partition(const std::string& name) {
    SQLite::Statement query =
        statement("SELECT dev_id, start_kib, size_kib FROM partition WHERE name = ?", name);
    if (!query.executeStep()) return std::nullopt;
    const auto start = static_cast<uint64_t>(query.getColumn(1).getInt64());
    const auto size = static_cast<uint64_t>(query.getColumn(2).getInt64());
    return over_one_drive(name, query.getColumn(0).getUInt(), {start * kKib, size * kKib});
}

PartGroup group_of(int raid_id) {
    PartGroup group{
        static_cast<flash::Level>(
            first<int>("SELECT raid_level FROM raid WHERE raid_id = ?", raid_id).value_or(1)),
        {}};
    SQLite::Statement members = statement(
        "SELECT dev_id, start_kib, size_kib FROM raid_drive JOIN partition USING(dev_id)"
        " WHERE raid_id = ? AND spare = 0 AND part_no = ? ORDER BY position",
        raid_id, kDataPartition);
    while (members.executeStep()) {
        const auto start = static_cast<uint64_t>(members.getColumn(1).getInt64());
        const auto size = static_cast<uint64_t>(members.getColumn(2).getInt64());
        group.parts.push_back(
            {members.getColumn(0).getUInt(), {start * kKib, (size - kRaidMetadataKib) * kKib}});
    }
    return group;
}

std::optional<Target> find_volume(const std::string& name) {
    SQLite::Statement query = statement("SELECT pool_id, sectors FROM lv WHERE name = ?", name);
    if (!query.executeStep()) return std::nullopt;
    Target target;
    target.name = name;
    target.bytes = static_cast<uint64_t>(query.getColumn(1).getInt64()) * kSector;
    const std::vector<int> groups =
        all<int>("SELECT raid_id FROM pool_member WHERE pool_id = ? ORDER BY position",
                 query.getColumn(0).getInt());
    for (const int raid_id : groups) target.groups.push_back(group_of(raid_id));
    for (const PartGroup& group : target.groups)
        for (const Part& part : group.parts)
            target.solid_state = target.solid_state && is_solid_state(part.dev_id);
    return target;
}

}  // namespace

std::optional<Target> find_target(const std::string& name) {
    return exclusively([&] {
        std::optional<Target> target = find_drive(name);
        if (!target) target = find_partition(name);
        if (!target) target = find_volume(name);
        return target;
    });
}

}  // namespace appliance
