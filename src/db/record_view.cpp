#include "db/record_view.h"

#include "base/owners.h"
#include "base/text.h"

namespace ssd_op::db {

namespace {

constexpr const char* kSelectList =
    "C.record_no,C.nas_model,C.nas_fw_version,C.title,C.status,"
    "     C.start_time,C.end_time,C.sequential,C.min_op,C.max_op,C.interval,"
    "C.stop_service,C.lv_size,C.test_size,"
    "     C.nas_cpu_info, C.nas_mem_info, C.nas_serial_no,"
    "    C.raid_id,C.raid_type,C.raid_capacity,dev_id,bus_type,"
    "    performance_write_r,performance_write_s,performance_read_r,performance_read_s,"
    "    vendor,model,serial_no,capacity,revision";

constexpr const char* kInnerSelectList =
    "f_raid_no,f_ssd_no,dev_id,bus_type,"
    "    performance_write_r,performance_write_s,performance_read_r,performance_read_s";

constexpr const char* kView =
    "SELECT %s FROM SSD_DEV"
    "     INNER JOIN(SELECT B.*,%s FROM SELECT_DEV"
    "         INNER JOIN(SELECT A.*,raid_no,raid_type,raid_capacity,raid_id FROM RAID_GROUP"
    "             INNER JOIN (%s)"
    "             AS A ON record_no = f_record_no)"
    "         AS B ON f_raid_no = raid_no)"
    "     AS C ON f_ssd_no = ssd_no;";

// Rows as in kSelectList.
// clang-format off
enum Column {
    kRecordNo, kNasModel, kNasFwVersion, kTitle, kStatus,
    kStartTime, kEndTime, kSequential, kMinOp, kMaxOp, kInterval,
    kStopService, kLvSize, kTestSize,
    kNasCpuInfo, kNasMemInfo, kNasSerialNo,
    kRaidId, kRaidLevel, kRaidCapacity, kDevId, kBusType,
    kWriteRandom, kWriteSequential, kReadRandom, kReadSequential,
    kVendor, kModel, kSerialNo, kCapacity, kRevision,
    kColumns
};
// clang-format on
static_assert(kColumns == kRecordViewColumns);

ssd_op_db_raid_conf& group_of(const Row& row, ssd_op_db_record& record) {
    const int raid_id = row.integer(kRaidId);
    ssd_op_db_raid_conf** link = &record.raid_conf;
    while (*link != nullptr && (*link)->raid_id != raid_id) link = &(*link)->next;
    if (*link == nullptr) {
        base::HeapBlock<ssd_op_db_raid_conf> group = base::make_zeroed<ssd_op_db_raid_conf>();
        if (!group) throw std::bad_alloc();
        group->raid_level = row.integer(kRaidLevel);
        group->raid_id = raid_id;
        group->raid_capacity = row.unsigned_decimal(kRaidCapacity);
        *link = group.release();
    }
    return **link;
}

void read_drive(const Row& row, ssd_op_db_ssd_dev& drive) {
    drive.dev_id = static_cast<uint32_t>(row.integer64(kDevId));
    base::copy_text(drive.bus_type, row.text(kBusType));
    drive.performance_write_r = row.unsigned_any_base(kWriteRandom);
    drive.performance_write_s = row.unsigned_any_base(kWriteSequential);
    drive.performance_read_r = row.unsigned_any_base(kReadRandom);
    drive.performance_read_s = row.unsigned_any_base(kReadSequential);
    base::copy_text(drive.vendor, row.text(kVendor));
    base::copy_text(drive.model, row.text(kModel));
    base::copy_text(drive.serial_no, row.text(kSerialNo));
    drive.capacity = row.unsigned_any_base(kCapacity);
    base::copy_text(drive.revision, row.text(kRevision));
}

}  // namespace

Sql record_view(const Sql& selection) {
    return sql(kView, kSelectList, kInnerSelectList, selection.get());
}

int record_no_of(const Row& row) { return row.integer(kRecordNo); }

void read_record(const Row& row, ssd_op_db_record& record) {
    record.record_no = row.integer(kRecordNo);
    base::copy_text(record.nas_model, row.text(kNasModel));
    base::copy_text(record.nas_fw_version, row.text(kNasFwVersion));
    base::copy_text(record.title, row.text(kTitle));
    record.status = row.integer(kStatus);
    record.start_time = row.integer64(kStartTime);
    record.end_time = row.integer64(kEndTime);
    record.sequential = row.integer(kSequential);
    record.min_op = row.integer(kMinOp);
    record.max_op = row.integer(kMaxOp);
    record.interval = row.integer(kInterval);
    record.stop_service = row.integer(kStopService);
    record.lv_size = row.unsigned_decimal(kLvSize);
    record.test_size = row.unsigned_decimal(kTestSize);
    base::copy_text(record.nas_cpu_info, row.text(kNasCpuInfo));
    base::copy_text(record.nas_mem_info, row.text(kNasMemInfo));
    base::copy_text(record.nas_serial_no, row.text(kNasSerialNo));
    record.next = nullptr;
}

ssd_op_db_ssd_dev* add_drive(const Row& row, ssd_op_db_record& record, Overflow& overflow) {
    ssd_op_db_raid_conf& group = group_of(row, record);
    if (!overflow.fits(group.ssd_drive_num, SSD_OP_MAX_DRIVES)) return nullptr;
    ssd_op_db_ssd_dev& drive = group.ssd_drives[group.ssd_drive_num++];
    read_drive(row, drive);
    return &drive;
}

}  // namespace ssd_op::db
