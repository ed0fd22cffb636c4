#include "core/partitions.h"

#include <cstdint>
#include <string>

#include <fmt/format.h>

#include "core/query.h"

namespace appliance {

namespace {

constexpr uint64_t kAlignmentKib = 1024;
constexpr uint64_t kSystemPartitionKib = uint64_t{256} * 1024;

}  // namespace

void partition_drive(unsigned dev_id) {
    if (first("SELECT 1 FROM partition WHERE dev_id = ? AND part_no = ?", dev_id, kDataPartition))
        return;
    const auto name = first<std::string>("SELECT sys_name FROM drive WHERE dev_id = ?", dev_id);
    const auto drive_kib = first<uint64_t>(
        "SELECT block_count * block_size / 1024 FROM drive WHERE dev_id = ?", dev_id);
    if (!name || !drive_kib) return;

    const auto add = [&](int number, uint64_t start, uint64_t size) {
        change(
            "INSERT OR REPLACE INTO partition(dev_id, part_no, name, start_kib, size_kib)"
            " VALUES(?, ?, ?, ?, ?)",
            dev_id, number, fmt::format("{}{}", *name, number), start, size);
    };
    uint64_t start = kAlignmentKib;
    for (const int number : {1, 2}) {
        add(number, start, kSystemPartitionKib);
        start += kSystemPartitionKib;
    }
    const uint64_t end = *drive_kib / kAlignmentKib * kAlignmentKib - kAlignmentKib;
    if (end > start) add(kDataPartition, start, end - start);
}

}  // namespace appliance
