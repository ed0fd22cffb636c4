// Whole records: one, or a page of them.

#include <unordered_map>

#include "base/owners.h"
#include "db/database.h"
#include "db/overflow.h"
#include "db/record_view.h"
#include "platform/hal.h"
#include "shared/drive_id.h"

namespace base = ssd_op::base;
namespace db = ssd_op::db;

namespace {

int trace_failure(const char* function, sqlite3* connection, int result) {
    SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(%s).\n", function,
             db::error_text(connection, result));
    return -1;
}

/// A page of records in the making: the caller's list, and where each record of it is.
class Page {
  public:
    explicit Page(ssd_op_db_record*& head) : tail_(&head) {
        for (; *tail_ != nullptr; tail_ = &(*tail_)->next) records_[(*tail_)->record_no] = *tail_;
    }

    ssd_op_db_record& record_of(const db::Row& row) {
        constexpr const char* kFunction = "ssd_op_db_record_simple_callback";
        const int record_no = db::record_no_of(row);
        if (const auto found = records_.find(record_no); found != records_.end()) {
            SM_TRACE(SM_TRACE_INFO, "%s: p_arg record_no(%d) is found.\n", kFunction, record_no);
            SM_TRACE(SM_TRACE_INFO, "%s: p_arg record_no(%d) is same.\n", kFunction, record_no);
            return *found->second;
        }
        base::HeapBlock<ssd_op_db_record> record = base::make_zeroed<ssd_op_db_record>();
        if (!record) throw std::bad_alloc();
        db::read_record(row, *record);
        records_[record_no] = record.get();
        *tail_ = record.release();
        ssd_op_db_record& added = **tail_;
        tail_ = &added.next;
        return added;
    }

  private:
    ssd_op_db_record** tail_;
    std::unordered_map<int, ssd_op_db_record*> records_;
};

void name_slot(ssd_op_db_ssd_dev& drive) {
    const auto [enclosure, port] = ssd_op::shared::slot_of(drive.dev_id);
    PD_Get_Log_Name(enclosure, port, drive.log_name, sizeof drive.log_name);
}

db::Sql page_selection(int offset, int count, int status) {
    if (status == SSD_OP_ANY_STATUS)
        return db::sql("SELECT * FROM TEST_RECORD ORDER BY record_no DESC LIMIT %d, %d", offset,
                       count);
    return db::sql(
        "SELECT * FROM TEST_RECORD WHERE status='%d' ORDER BY record_no DESC LIMIT %d, %d", status,
        offset, count);
}

}  // namespace

int SSD_OP_DB_Query_Record(int record_no, ssd_op_db_record* record) {
    if (record == nullptr) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Parameter error.\n", __func__);
        return -1;
    }
    if (SSD_OP_DB_Record_Is_Exist(record_no) == 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: The record(%d) is not exist.\n", __func__, record_no);
        return -1;
    }
    const char* function = __func__;
    return db::with_session(function, -1, [&](sqlite3* connection) {
        const db::Sql view =
            db::record_view(db::sql("SELECT * FROM TEST_RECORD WHERE record_no=%d", record_no));
        db::Overflow overflow(function);
        const int result =
            db::query(connection, view, db::kRecordViewColumns, [&](const db::Row& row) {
                if (db::record_no_of(row) != record->record_no) db::read_record(row, *record);
                db::add_drive(row, *record, overflow);
            });
        return result == SQLITE_OK ? 0 : trace_failure(function, connection, result);
    });
}

int SSD_OP_DB_Query_Record_Simple(ssd_op_db_record** list, int offset, int count, int status) {
    if (list == nullptr) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Parameter error.\n", __func__);
        return -1;
    }
    const char* function = __func__;
    return db::with_session(function, -1, [&](sqlite3* connection) {
        const db::Sql view = db::record_view(page_selection(offset, count, status));
        Page page(*list);
        db::Overflow overflow(function);
        const int result =
            db::query(connection, view, db::kRecordViewColumns, [&](const db::Row& row) {
                ssd_op_db_record& record = page.record_of(row);
                if (auto* drive = db::add_drive(row, record, overflow)) name_slot(*drive);
            });
        return result == SQLITE_OK ? 0 : trace_failure(function, connection, result);
    });
}
