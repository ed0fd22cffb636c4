#include "base/boundary.h"
#include "db/record_owner.h"
#include "event/delivery.h"

using namespace ssd_op;

int SSD_OP_Write_System_Log(const void* requester, int type, const int* record_no,
                            const void* detail) {
    return base::guarded(__func__, -1, [&] {
        const auto entry = event::new_entry();
        db::RecordOwner record;
        if (record_no != nullptr) {
            record = db::load_record(*record_no);
            if (!record) return -1;
        }
        const bool as_notification = event::notifications_are_on();
        const event::Decision decision = event::decide(type, record.get(), detail);
        if (decision.event) {
            event::deliver(*decision.event, type, static_cast<const ssd_op_requester*>(requester),
                           record ? record->title : "", as_notification, *entry);
        }
        return decision.result;
    });
}
