#pragma once

#include <optional>
#include <string>

#include "event/message.h"
#include "ssd_op.h"

namespace ssd_op::event {

/// A notice to the platform's log engine; number 0: the event sends none.
struct EngineNotice {
    int number = 0;
    const char* message_id = "";
};

/// An event, decided: which text of the table, filled with what, and what else is sent.
struct Event {
    const NASLOG_MESSAGE* text;
    int level;  // of the table; the text's own, but for failures always that of the plain failure
    Arguments arguments;
    EngineNotice notice;
};

struct Decision {
    bool is_complete;            // nothing is missing that the type wants of record and detail
    std::optional<Event> event;  // nothing when there is nothing to report
};

/// What to report for an event of `type`. `record` is null when the caller named none.
Decision decide(int type, const ssd_op_db_record* record, const void* detail);

}  // namespace ssd_op::event
