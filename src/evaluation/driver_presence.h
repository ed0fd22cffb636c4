#pragma once

namespace ssd_op::evaluation {

/// Lets other processes find out whether this one, the driver of a record, is still there: a stop
/// must not take away what a driver is at work on, and nobody else takes away what a dead one left.
void announce_driver(int record_no);

/// Whether the record's driver has announced itself and is gone. False when nothing is known.
bool driver_is_gone(int record_no);

}  // namespace ssd_op::evaluation
