#include "evaluation/state/status_change.h"

#include "runtime/state_section.h"

namespace ssd_op::evaluation {

StatusChange move_status(int record_no, int from, int to) noexcept {
    const StatusChange outcome = db::change_status(record_no, from, to);
    if (outcome == StatusChange::kChanged) runtime::publish_status(record_no, to);
    return outcome;
}

}  // namespace ssd_op::evaluation
