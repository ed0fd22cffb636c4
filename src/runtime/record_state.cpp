/// What takes more than one access: the copy of a record's status, and its removal from both files.
#include "db/running_records.h"
#include "runtime/state_section.h"

namespace ssd_op::runtime {

void publish_status(int record_no, int status) {
    constexpr int kMaxCopies = 10;
    const StateSection info = runtime_info(record_no);
    info.write(kStepProgress, 0);
    for (int copies = 0; copies < kMaxCopies; ++copies) {
        info.write(kStatus, status);
        // Whoever has changed it since may have written the copy first.
        const auto now = db::stored_status(record_no);
        if (!now || *now == status) break;
        status = *now;
    }
}

bool remove_state(int record_no) {
    const auto addon = addon_section(record_no);
    if (!addon) return false;
    const bool removed = addon->remove();
    return runtime_info(record_no).remove() && removed;
}

}  // namespace ssd_op::runtime
