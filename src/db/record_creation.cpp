// Creation of a record: the evaluation, its RAID groups and their drives, in one transaction. When
// a part of it cannot be made, what was made is deleted again and only the drives stay known; when
// that cannot be done either, everything is rolled back. So a record is whole or absent.

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

#include "base/interface_name.h"
#include "base/text.h"
#include "db/appliance_identity.h"
#include "db/database.h"
#include "db/records.h"
#include "db/schema.h"
#include "db/transaction.h"
#include "platform/hal.h"
#include "shared/drive_id.h"
#include "shared/ranges.h"

namespace ssd_op::db {

namespace {

constexpr const char* kFunction = "ssd_op_db_insert_simple";

/// What the platform says of a drive, as texts that end.
struct Drive {
    PD_INFO info;
    std::string vendor;
    std::string model;
    std::string serial_no;
    std::string revision;
};

bool read_drive(uint32_t dev_id, Drive& drive) {
    const shared::Slot slot = shared::slot_of(dev_id);
    drive.info = {};
    if (PD_Is_Exist(slot.enclosure, slot.port) == 0 ||
        PD_Get_Info(slot.enclosure, slot.port, &drive.info) != 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: The PD(%d) is not exist.\n", kFunction,
                 static_cast<int>(dev_id));
        return false;
    }
    drive.vendor = base::field_text(drive.info.vendor);
    drive.model = base::field_text(drive.info.model);
    drive.serial_no = base::field_text(drive.info.serial_no);
    drive.revision = base::field_text(drive.info.revision);
    return true;
}

void copy_identity(const Drive& drive, ssd_op_db_ssd_dev& target) {
    base::copy_text(target.vendor, drive.vendor);
    base::copy_text(target.model, drive.model);
    base::copy_text(target.serial_no, drive.serial_no);
    base::copy_text(target.revision, drive.revision);
    target.capacity = drive.info.block_count;
}

/// The rows of one record. Gone with it, unless they were kept.
class Creation {
  public:
    Creation(Session& session, ssd_op_db_record& record)
        : session_(session), transaction_(session), record_(record) {}

    bool create() {
        if (!forget_former_owners() || !insert_record()) return false;
        const auto groups = shared::groups(record_);
        return std::all_of(groups.begin(), groups.end(),
                           [this](ssd_op_db_raid_conf& group) { return insert_group(group); }) &&
               transaction_.commit();
    }

    /// Deletes the rows and keeps what is known of the drives.
    void undo() {
        if (record_no_ <= 0) return;
        transaction_.require(deletion(kSelectDev, record_no_));
        if (raid_no_ > 0) transaction_.require(deletion(kRaidGroup, record_no_));
        transaction_.require(deletion(kTestRecord, record_no_));
        transaction_.commit();
    }

  private:
    /// Numbers are given anew once the rows that had the highest ones are gone. Rows that a dropped
    /// record has left must not come to belong to this one.
    bool forget_former_owners() {
        return std::all_of(std::rbegin(kRecordTables), std::rend(kRecordTables),
                           [this](const RecordTable* table) {
                               return table->owner == nullptr || delete_leftovers(*table);
                           });
    }

    bool delete_leftovers(const RecordTable& table) {
        if (transaction_.run(sql("DELETE FROM %s WHERE %s > (SELECT IFNULL(MAX(%s), 0) FROM %s);",
                                 table.name, table.column, table.key, table.owner))) {
            if (const int deleted = session_.changed_rows(); deleted > 0)
                SM_TRACE(SM_TRACE_INFO,
                         "%s: %d rows of %s, left by dropped records, are deleted.\n", kFunction,
                         deleted, table.name);
            return true;
        }
        const char* error = session_.error();
        if (std::strstr(error, "no such table") != nullptr) return true;  // an older version's
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to delete rows of %s, left by dropped records (%s).\n",
                 kFunction, table.name, error);
        return false;
    }

    /// The number of the row that was just inserted; 0 for one that no record can have.
    int inserted_number() const {
        const int64_t number = session_.inserted_row();
        return number > std::numeric_limits<int>::max() ? 0 : static_cast<int>(number);
    }

    bool insert_record() {
        const Sql insert =
            sql("INSERT INTO TEST_RECORD ("
                "     nas_model, nas_fw_version, start_time, end_time,"
                "     sequential, status, title, min_op, max_op, interval,"
                "     stop_service, lv_size, test_size, nas_cpu_info, nas_mem_info, nas_serial_no)"
                "     VALUES ('%q', '%q', '%ld', '%ld', '%d', '%d', '%q', %d, %d, %d,"
                " %d, '%llu', '%llu',    '%q', '%q', '%q');",
                record_.nas_model, record_.nas_fw_version, record_.start_time, record_.end_time,
                record_.sequential, record_.status, record_.title, record_.min_op, record_.max_op,
                record_.interval, record_.stop_service, record_.lv_size, record_.test_size,
                record_.nas_cpu_info, record_.nas_mem_info, record_.nas_serial_no);
        if (!transaction_.run(insert)) {
            SM_TRACE(SM_TRACE_ERROR, "%s: Fail to insert test_record.\n", kFunction);
            return false;
        }
        record_no_ = inserted_number();
        if (record_no_ <= 0) {
            SM_TRACE(SM_TRACE_ERROR, "%s: Fail to get record id of test_record.\n", kFunction);
            return false;
        }
        record_.record_no = record_no_;
        return true;
    }

    bool insert_group(ssd_op_db_raid_conf& group) {
        const Sql insert =
            sql("INSERT INTO RAID_GROUP ("
                "     raid_id, raid_type, raid_capacity, f_record_no)"
                "     VALUES ('%d', '%d', '%llu', '%d');",
                group.raid_id, group.raid_level, group.raid_capacity, record_no_);
        if (!transaction_.run(insert)) {
            SM_TRACE(SM_TRACE_ERROR, "%s: Fail to insert raid conf.\n", kFunction);
            return false;
        }
        raid_no_ = inserted_number();
        if (raid_no_ <= 0) {
            SM_TRACE(SM_TRACE_ERROR, "%s: Fail to select raid no.\n", kFunction);
            return false;
        }
        const auto drives = shared::drives(group);
        const int kept = static_cast<int>(drives.size());
        if (kept < group.ssd_drive_num)
            SM_TRACE(SM_TRACE_ERROR, "%s: RAID(%d) has %d drives, the first %d are kept.\n",
                     kFunction, group.raid_id, group.ssd_drive_num, kept);
        return std::all_of(drives.begin(), drives.end(),
                           [this](ssd_op_db_ssd_dev& drive) { return insert_drive(drive); });
    }

    bool insert_drive(ssd_op_db_ssd_dev& target) {
        Drive drive;
        if (!read_drive(target.dev_id, drive)) return false;
        copy_identity(drive, target);
        int ssd_no = 0;
        return remember_drive(drive) && find_drive(drive, ssd_no) &&
               link_drive(target.dev_id, drive, ssd_no);
    }

    /// A drive has one row for ever; a firmware update since its last test changes that row.
    bool remember_drive(const Drive& drive) {
        const uint64_t capacity = uint64_t{drive.info.block_size} * drive.info.block_count;
        const Sql insert =
            sql("INSERT INTO SSD_DEV ("
                "     vendor, model, serial_no, capacity, revision)"
                "     VALUES ('%q', '%q', '%q', '%llu', '%q');",
                drive.vendor.c_str(), drive.model.c_str(), drive.serial_no.c_str(), capacity,
                drive.revision.c_str());
        if (transaction_.run(insert)) return true;
        const char* error = session_.error();
        if (std::strstr(error, "are not unique") == nullptr &&
            std::strstr(error, "UNIQUE constraint failed") == nullptr) {
            SM_TRACE(SM_TRACE_ERROR, "%s: The PD(%s,%s) err_msg(%s) fail to insert to database.\n",
                     kFunction, drive.vendor.c_str(), drive.model.c_str(), error);
            return false;
        }
        transaction_.run(
            sql("UPDATE SSD_DEV SET revision = '%q' WHERE vendor = '%q'"
                "     AND model = '%q' AND serial_no = '%q';",
                drive.revision.c_str(), drive.vendor.c_str(), drive.model.c_str(),
                drive.serial_no.c_str()));
        return true;
    }

    bool find_drive(const Drive& drive, int& ssd_no) {
        const Sql find =
            sql("SELECT ssd_no FROM SSD_DEV"
                " WHERE vendor = '%q' AND model = '%q' AND serial_no = '%q';",
                drive.vendor.c_str(), drive.model.c_str(), drive.serial_no.c_str());
        if (transaction_.query(find, 1, [&](const Row& row) { ssd_no = row.integer(0); }) &&
            ssd_no > 0)
            return true;
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to found ssd_dev_no of (%s,%s).\n", kFunction,
                 drive.vendor.c_str(), drive.model.c_str());
        return false;
    }

    /// The four figures are 0 until the drive is measured.
    bool link_drive(uint32_t dev_id, const Drive& drive, int ssd_no) {
        const Sql insert = sql(
            "INSERT INTO SELECT_DEV ("
            "     f_ssd_no, f_raid_no, dev_id, bus_type, performance_write_r, performance_write_s,"
            "     performance_read_r, performance_read_s)"
            " VALUES ('%d', '%d', '%d', '%q', '%d', '%d', '%d', '%d');",
            ssd_no, raid_no_, static_cast<int>(dev_id), base::interface_name(drive.info), 0, 0, 0,
            0);
        if (transaction_.run(insert)) return true;
        SM_TRACE(SM_TRACE_ERROR, "%s: The RECORD(%d,%d) fail to insert to SELECT_DEV database.\n",
                 kFunction, ssd_no, raid_no_);
        return false;
    }

    Session& session_;
    Transaction transaction_;
    ssd_op_db_record& record_;
    int record_no_ = 0;  // 0 until this record has one: what the caller's says may be another's
    int raid_no_ = 0;
};

bool insert(Session& session, ssd_op_db_record& record) {
    Creation creation(session, record);
    const bool created = base::guarded(kFunction, false, [&] {
        capture_appliance_identity(kFunction, record);
        return creation.create();
    });
    SM_TRACE(SM_TRACE_INFO, "%s: %s to insert record.\n", kFunction, created ? "Success" : "Fail");
    return created || base::guarded(kFunction, false, [&] {
               creation.undo();
               return false;
           });
}

}  // namespace

bool create_record(ssd_op_db_record& record) noexcept {
    constexpr const char* kExported = "SSD_OP_DB_New_Record";
    SM_TRACE(SM_TRACE_ENTRY, "%s: Enter.\n", kExported);
    return with_session(kExported, [&](Session& session) {
        const bool inserted = insert(session, record);
        if (!inserted) SM_TRACE(SM_TRACE_ERROR, "%s: Fail to insert data.\n", kExported);
        return inserted;
    });
}

}  // namespace ssd_op::db
