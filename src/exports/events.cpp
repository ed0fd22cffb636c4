// Events.

#include "event/event.h"
#include "exports/answer.h"

int SSD_OP_Write_System_Log(const void* requester, int type, const int* record_no,
                            const void* detail) {
    using namespace ssd_op;
    return exports::answer(
        event::write(static_cast<const ssd_op_requester*>(requester), type, record_no, detail));
}
