#pragma once

#include "event/event_kind.h"

namespace ssd_op::event {

/// Where events go: the notification application gets them when it is installed and the platform's
/// notify link points at it.
bool notifications_are_on();

/// Delivers an event to the notification service or to the event log, and its notice, if it has
/// one, to the log engine. `title` is that of the event's record.
void deliver(const Event& event, int type, const ssd_op_requester* requester, const char* title,
             bool as_notification);

}  // namespace ssd_op::event
