#include "addon/drive_reading.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "platform/hal.h"

namespace appliance::addon {

namespace {

struct FreeBlock {
    void operator()(void* block) const { std::free(block); }
};

void add_drive(uint32_t dev_id, DriveReading& reading, bool& all_count) {
    PD_SMART_INFO* block = nullptr;
    const int result = PD_SMART_Read_Info(static_cast<int>(dev_id >> 16),
                                          static_cast<int>(dev_id & 0xFFFFU), &block);
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
    for (const ssd_op_db_raid_conf* raid = record->raid_conf; raid != nullptr; raid = raid->next) {
        const int count = std::clamp(raid->ssd_drive_num, 0, SSD_OP_MAX_DRIVES);
        for (int i = 0; i < count; ++i) add_drive(raid->ssd_drives[i].dev_id, reading, all_count);
    }
    if (!all_count || !reading.all_answered) reading.flash_written_kib = 0;
    return reading;
}

}  // namespace appliance::addon
