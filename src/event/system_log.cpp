#include "base/boundary.h"
#include "db/record_owner.h"
#include "event/delivery.h"
#include "event/event.h"

namespace ssd_op::event {

bool write(const ssd_op_requester* requester, int type, const int* record_no,
           const void* detail) noexcept {
    return base::guarded("SSD_OP_Write_System_Log", false, [&] {
        const auto entry = new_entry();
        db::RecordOwner record;
        if (record_no != nullptr) {
            record = db::load_record(*record_no);
            if (!record) return false;
        }
        const bool as_notification = notifications_are_on();
        const Decision decision = decide(type, record.get(), detail);
        if (decision.event) {
            deliver(*decision.event, type, requester, record ? record->title : "", as_notification,
                    *entry);
        }
        return decision.is_complete;
    });
}

}  // namespace ssd_op::event
