#pragma once

#include "base/owners.h"
#include "event/event_kind.h"

namespace ssd_op::event {

/// Where events go: the notification application gets them when it is installed and the platform's
/// notify link points at it.
bool notifications_are_on();

/// An empty entry of the event log.
/// @throws std::bad_alloc
base::HeapBlock<NASLOG_EVENT> new_entry();

/// Delivers an event to the notification service or to the event log, and its notice, if it has
/// one, to the log engine. What it needs memory for comes before the first of them is called.
/// `entry` is a new one, `title` that of the event's record.
void deliver(const Event& event, int type, const ssd_op_requester* requester, const char* title,
             bool as_notification, NASLOG_EVENT& entry);

}  // namespace ssd_op::event
