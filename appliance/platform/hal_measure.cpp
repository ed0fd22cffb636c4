/// The platform's own measurements of drives.

#include <optional>
#include <string>

#include "core/call.h"
#include "core/query.h"
#include "device/load.h"
#include "platform/hal.h"
#include "platform/hal_slot.h"
#include "provider/figures.h"
#include "provider/measuring.h"

namespace {

using namespace appliance;

constexpr int kFailure = -1;
constexpr double kSeconds = 15;
constexpr uint64_t kMib = uint64_t{1} << 20;
constexpr flash::Range kReadArea{0, 1024 * kMib};

/// A kind of measurement and the key under which its figure is kept.
struct Kind {
    flash::Pattern pattern;
    flash::Direction direction;
    const char* key;
};

Kind kind_of(bool sequential, flash::Direction direction) {
    const bool read = direction == flash::Direction::read;
    if (sequential)
        return {flash::Pattern::sequential, direction, read ? "read_speed" : "write_speed"};
    return {flash::Pattern::random, direction, read ? "read_iops" : "write_iops"};
}

/// Read speed is kept in KiB a second, write speed in bytes a second.
uint64_t figure_of(const Kind& kind, const flash::Progress& progress) {
    if (kind.pattern == flash::Pattern::random) return static_cast<uint64_t>(progress.iops());
    const double divisor = kind.direction == flash::Direction::read ? 1024 : 1;
    return static_cast<uint64_t>(progress.bytes_per_second() / divisor);
}

/// Through the file cache, which sends 128 KiB at a time and only a few of them at once.
flash::Workload workload_of(const Kind& kind) {
    flash::Workload workload;
    workload.pattern = kind.pattern;
    workload.direction = kind.direction;
    const bool buffered = kind.direction == flash::Direction::write;
    if (kind.pattern == flash::Pattern::sequential)
        workload.block_bytes = buffered ? kMib / 8 : kMib;
    workload.queue_depth = buffered && kind.pattern == flash::Pattern::sequential ? 4 : 32;
    return workload;
}

bool is_in_group(unsigned dev_id) {
    return first("SELECT 1 FROM raid_drive WHERE dev_id = ?", dev_id).has_value();
}

int keep_figure(unsigned dev_id, const char* key, const std::string& value) {
    const auto wwn = first<std::string>("SELECT wwn FROM drive WHERE dev_id = ?", dev_id);
    return provider::keep_figure(dev_id, wwn.value_or(""), key, value);
}

int measure(unsigned dev_id, int part_no, const Kind& kind) {
    int result = keep_figure(dev_id, kind.key, "testing");
    try {
        const std::unique_ptr<Device> device =
            open_device(device_name(dev_id, part_no).value_or(""));
        flash::Workload workload = workload_of(kind);
        if (kind.direction == flash::Direction::read) {
            workload.range = kReadArea;
            if (!is_in_group(dev_id)) write_what_is_empty(*device, kReadArea);
        }
        PacedLoad load(*device, workload);
        const uint64_t figure = figure_of(kind, load.for_seconds(kSeconds));
        return result | keep_figure(dev_id, kind.key, std::to_string(figure));
    } catch (const std::exception&) {
        keep_figure(dev_id, kind.key, "fail");
        return kFailure;
    }
}

int measure_all(const unsigned* dev_ids, int count, const int* part_nos, const Kind& kind,
                bool background) {
    return provider::measure_each(
        dev_ids, count, part_nos, background,
        [&](unsigned dev_id, int part_no) { return measure(dev_id, part_no, kind); });
}

}  // namespace

int Disk_Read_Performance_Test(const unsigned* dev_ids, int count, int sequential, int background) {
    return call(
        "Disk_Read_Performance_Test",
        arguments(dev_ids != nullptr && count > 0 ? dev_ids[0] : 0, count, sequential, background),
        [&] {
            const Kind kind = kind_of(sequential != 0, flash::Direction::read);
            return measure_all(dev_ids, count, nullptr, kind, background != 0);
        });
}

int Disk_Write_Performance_Test(const unsigned* dev_ids, int count, const int* part_nos,
                                int sequential, int background) {
    return call(
        "Disk_Write_Performance_Test",
        arguments(dev_ids != nullptr && count > 0 ? dev_ids[0] : 0, count, sequential, background),
        [&] {
            const Kind kind = kind_of(sequential != 0, flash::Direction::write);
            return measure_all(dev_ids, count, part_nos, kind, background != 0);
        });
}
