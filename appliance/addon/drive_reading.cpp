#include "addon/drive_reading.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "platform/hal.h"
#include "shared/drive_id.h"
#include "shared/ranges.h"

namespace appliance::addon {

namespace {

namespace shared = ssd_op::shared;

struct FreeBlock {
    void operator()(void* block) const { std::free(block); }
};

void add_drive(uint32_t dev_id, DriveReading& reading, bool& all_count) {
    PD_SMART_INFO* block = nullptr;
    const auto [enclosure, port] = shared::slot_of(dev_id);
    const int result = PD_SMART_Read_Info(enclosure, port, &block);
    const std::unique_ptr<PD_SMART_INFO, FreeBlock> info(block);
    if (result != 0 || !info) {
        reading.all_answered = false;
        return;
    }
    reading.host_written_kib += info->host_written_kib;
    reading.flash_written_kib += info->flash_written_kib;
    all_count &= info->flash_written_kib > 0 && info->host_written_kib > 0;
    const auto temperature = static_cast<int8_t>(PD_SMART_Get_Temperature(info.get()));
    reading.hottest = std::max<int>(reading.hottest, temperature);
}

/// Which one it was, its serial number tells, as far as a record keeps it.
bool is_there(const ssd_op_db_ssd_dev& drive) {
    const auto [enclosure, port] = shared::slot_of(drive.dev_id);
    PD_INFO info{};
    if (PD_Is_Exist(enclosure, port) == 0 || PD_Get_Info(enclosure, port, &info) != 0) return false;
    const std::string_view serial(info.serial_no, ::strnlen(info.serial_no, sizeof info.serial_no));
    return serial.substr(0, sizeof drive.serial_no - 1) == drive.serial_no;
}

}  // namespace

std::unique_ptr<ssd_op_db_record, FreeRecord> load_record(int record_no) {
    std::unique_ptr<ssd_op_db_record, FreeRecord> record(
        static_cast<ssd_op_db_record*>(std::calloc(1, sizeof(ssd_op_db_record))));
    if (record && SSD_OP_DB_Query_Record(record_no, record.get()) != 0) record.reset();
    return record;
}

std::optional<DriveReading> read_drives(int record_no) {
    const auto record = load_record(record_no);
    if (!record) return std::nullopt;
    DriveReading reading;
    bool all_count = true;
    for (const ssd_op_db_raid_conf& group : shared::groups(*record)) {
        for (const ssd_op_db_ssd_dev& drive : shared::drives(group))
            add_drive(drive.dev_id, reading, all_count);
    }
    if (!all_count || !reading.all_answered) reading.flash_written_kib = 0;
    return reading;
}

bool are_drives_there(int record_no) {
    const auto record = load_record(record_no);
    if (!record) return false;
    const auto groups = shared::groups(*record);
    return std::all_of(groups.begin(), groups.end(), [](const ssd_op_db_raid_conf& group) {
        const auto drives = shared::drives(group);
        return std::all_of(drives.begin(), drives.end(), is_there);
    });
}

}  // namespace appliance::addon
