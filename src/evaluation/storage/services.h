#pragma once

namespace ssd_op::evaluation {

/// Runs "/etc/init.d/<script> stop" and waits for it. Its process id is published first, as the
/// record's `stop_service_pid`, so that a stop by another process can end it.
void stop_service(const char* script, int record_no);

constexpr int kNoRecord = 0;

/// Starts the file services again, unless a running evaluation other than `record_no` stopped them
/// too: the last one of them to finish does it.
/// @return whether it started them
bool restart_services(int record_no);

}  // namespace ssd_op::evaluation
