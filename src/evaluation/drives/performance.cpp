#include "evaluation/drives/performance.h"

#include "base/boundary.h"
#include "db/records.h"
#include "evaluation/drives/drive_figures.h"
#include "evaluation/drives/groups.h"
#include "evaluation/state/status.h"
#include "platform/hal.h"
#include "platform/naslog.h"
#include "shared/drive_id.h"
#include "shared/ranges.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kFunction = "ssd_op_test_performance_test";
constexpr int kOutOfMemory = -10;

/// One drive under one kind of measurement. Failed calls are collected in `result`.
struct Measurement {
    const RequestedDrive& drive;
    bool sequential;
    bool read;
    int result = 0;

    shared::Slot slot() const { return shared::slot_of(drive.dev_id); }
    int part_no() const { return drive.has_partition ? shared::kDataPartition : 0; }
    unsigned long long figure();

  private:
    unsigned long long read_figure();
    unsigned long long random_write();
    unsigned long long sequential_write();
    unsigned long long write_speed_kib();
};

unsigned long long Measurement::figure() {
    if (read) return read_figure();
    return sequential ? sequential_write() : random_write();
}

unsigned long long Measurement::read_figure() {
    unsigned long long value = 0;
    result |= Disk_Read_Performance_Test(&drive.dev_id, 1, sequential ? 1 : 0, 0);
    result |=
        (sequential ? PD_Get_Read_Speed : PD_Get_Read_IOPS)(slot().enclosure, slot().port, &value);
    return value;
}

unsigned long long Measurement::random_write() {
    unsigned long long value = 0;
    const int partition = part_no();
    result |= Disk_Write_Performance_Test(&drive.dev_id, 1, &partition, 0, 0);
    result |= PD_Get_Write_IOPS(slot().enclosure, slot().port, &value);
    return value;
}

unsigned long long Measurement::write_speed_kib() {
    unsigned long long bytes = 0;
    result |= PD_Get_Write_Speed(slot().enclosure, slot().port, &bytes);
    return bytes >> 10;
}

/// The better of the platform's buffered run and a direct one; the drive keeps the better figure.
unsigned long long Measurement::sequential_write() {
    const int partition = part_no();
    const auto [enclosure, port] = slot();
    result |= Disk_Write_Performance_Test(&drive.dev_id, 1, &partition, 1, 0);
    const unsigned long long buffered = write_speed_kib();
    SM_TRACE(SM_TRACE_INFO, "%s: Disk(0x%x, 0x%x), throughput with buffer io(%llu KB/s).\n",
             kFunction, enclosure, port, buffered);

    result |= measure_writes(&drive.dev_id, 1, &partition, true, false);
    const unsigned long long direct = write_speed_kib();
    SM_TRACE(SM_TRACE_INFO, "%s: Disk(0x%x, 0x%x), throughput with direct io(%llu KB/s).\n",
             kFunction, enclosure, port, direct);
    if (direct > buffered) return direct;

    DriveFigures figures(drive.dev_id, DriveFigures::Key::kWriteSpeed);
    const std::string bytes = std::to_string(buffered << 10);
    if (figures.read_wwn() == 0) figures.set_in_list(bytes);
    figures.set_in_enclosure(bytes);
    return buffered;
}

/// The drive's entry in the record; the last one, should there be several.
ssd_op_db_ssd_dev* entry_of(ssd_op_db_raid_conf* groups, uint32_t dev_id) {
    ssd_op_db_ssd_dev* found = nullptr;
    for (auto& group : shared::nodes(groups)) {
        for (auto& drive : shared::drives(group)) {
            if (drive.dev_id == dev_id) found = &drive;
        }
    }
    return found;
}

uint64_t& field_of(ssd_op_db_ssd_dev& entry, bool sequential, bool read) {
    if (read) return sequential ? entry.performance_read_s : entry.performance_read_r;
    return sequential ? entry.performance_write_s : entry.performance_write_r;
}

int measure_all(int record_no, ssd_op_db_raid_conf* groups, RAID_CONF* raid_list, bool sequential,
                bool read) {
    int result = 0;
    for (const RequestedDrive& drive : drives_of(raid_list, kFunction)) {
        if (status_of(record_no) != SSD_OP_TEST_STATUS_INITIATING) return -1;
        Measurement measurement{drive, sequential, read};
        const unsigned long long figure = measurement.figure();
        result |= measurement.result;
        if (auto* entry = entry_of(groups, drive.dev_id))
            field_of(*entry, sequential, read) = figure;
        const int raid_id = ssd_op_test_get_raid_id(raid_list, drive.dev_id);
        db::update_performance(record_no, raid_id, static_cast<int>(drive.dev_id),
                               {!read, sequential}, figure);
        const auto [enclosure, port] = measurement.slot();
        SM_TRACE(SM_TRACE_ERROR, "%s: (%d, %d, %d, %s, %s) performance_value: %llu %s.\n",
                 kFunction, enclosure, port, raid_id, sequential ? "sequential" : "random",
                 read ? "read" : "write", figure, sequential ? "KB/s" : "IOPS");
    }
    return result;
}

}  // namespace

int ssd_op_test_performance_test(const int* record_no, ssd_op_db_raid_conf** raid_confs,
                                 RAID_CONF* raid_list, int sequential, int read) {
    return base::guarded(kFunction, kOutOfMemory, [&] {
        return measure_all(*record_no, *raid_confs, raid_list, sequential != 0, read != 0);
    });
}

}  // namespace ssd_op::evaluation
