// Whole records: one, or a page of them.

#include <unordered_map>

#include "base/owners.h"
#include "db/database.h"
#include "db/overflow.h"
#include "db/queries.h"
#include "db/record_view.h"
#include "platform/hal.h"
#include "shared/drive_id.h"

namespace ssd_op::db {

namespace {

/// A page of records in the making: the caller's list, and where each record of it is.
class Page {
  public:
    explicit Page(ssd_op_db_record*& head) : tail_(&head) {
        for (; *tail_ != nullptr; tail_ = &(*tail_)->next) records_[(*tail_)->record_no] = *tail_;
    }

    ssd_op_db_record& record_of(const Row& row) {
        constexpr const char* kFunction = "ssd_op_db_record_simple_callback";
        const int record_no = record_no_of(row);
        if (const auto found = records_.find(record_no); found != records_.end()) {
            SM_TRACE(SM_TRACE_INFO, "%s: p_arg record_no(%d) is found.\n", kFunction, record_no);
            SM_TRACE(SM_TRACE_INFO, "%s: p_arg record_no(%d) is same.\n", kFunction, record_no);
            return *found->second;
        }
        base::HeapBlock<ssd_op_db_record> record = base::make_zeroed<ssd_op_db_record>();
        if (!record) throw std::bad_alloc();
        read_record(row, *record);
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

Sql page_selection(int offset, int count, int status) {
    if (status == SSD_OP_ANY_STATUS)
        return sql("SELECT * FROM TEST_RECORD ORDER BY record_no DESC LIMIT %d, %d", offset, count);
    return sql("SELECT * FROM TEST_RECORD WHERE status='%d' ORDER BY record_no DESC LIMIT %d, %d",
               status, offset, count);
}

}  // namespace

bool query_record(int record_no, ssd_op_db_record& record) noexcept {
    constexpr const char* kFunction = "SSD_OP_DB_Query_Record";
    if (is_unknown(kFunction, record_no)) return false;
    return with_session(kFunction, [&](Session& session) {
        const Sql view =
            record_view(sql("SELECT * FROM TEST_RECORD WHERE record_no=%d", record_no));
        Overflow overflow(kFunction);
        const bool is_read = session.query(view, kRecordViewColumns, [&](const Row& row) {
            if (record_no_of(row) != record.record_no) read_record(row, record);
            add_drive(row, record, overflow);
        });
        return is_read || session.fail();
    });
}

bool query_page(ssd_op_db_record*& list, int offset, int count, int status) noexcept {
    return with_session("SSD_OP_DB_Query_Record_Simple", [&](Session& session) {
        const Sql view = record_view(page_selection(offset, count, status));
        Page page(list);
        Overflow overflow(session.function());
        const bool is_read = session.query(view, kRecordViewColumns, [&](const Row& row) {
            ssd_op_db_record& record = page.record_of(row);
            if (auto* drive = add_drive(row, record, overflow)) name_slot(*drive);
        });
        return is_read || session.fail();
    });
}

}  // namespace ssd_op::db
