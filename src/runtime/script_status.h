#pragma once

#include <optional>

namespace ssd_op::runtime {

// What the test script says about the OP ratio that it measures now: a field of its status file
// each. The result of the command that reads it, and the value stays as it was when that is not 0.

int read_ratio_progress(int record_no, float& progress);
/// In seconds; stays as it was also for a text that is no time.
int read_time_left(int record_no, unsigned long long& seconds);
int read_test_amount(int record_no, unsigned long long& amount);
int read_test_value(int record_no, long double& value);

/// When the ratio began, in seconds since the epoch; kept in the runtime-info file.
std::optional<unsigned long long> read_start_time(int record_no);

}  // namespace ssd_op::runtime
