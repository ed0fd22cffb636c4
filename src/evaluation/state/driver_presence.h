#pragma once

#include <sys/types.h>

namespace ssd_op::evaluation {

enum class Driver {
    kLives,
    kGone,
    kUnknown,  ///< nobody has announced one, or the announcement or the process cannot be read
};

/// Lets other processes find out whether `pid`, the driver of a record, is still there: a stop must
/// not take away what a driver is at work on, and nobody else takes away what a dead one left.
/// False when the announcement could not be written.
bool announce_driver(int record_no, pid_t pid) noexcept;

/// What has become of the record's driver. The command line asks with the same code.
Driver driver_of(int record_no) noexcept;

}  // namespace ssd_op::evaluation
