#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace host {

/// What the host's fio found.
struct FioResult {
    uint64_t bytes = 0;
    uint64_t bytes_per_second = 0;
    uint64_t iops = 0;
    uint64_t milliseconds = 0;
    double mean_microseconds = 0;  ///< from when an operation is to begin to its end
    double p99_microseconds = 0;   ///< of a hundred operations, the slowest but one
    std::vector<uint64_t> iops_of_seconds{};
};

/// From its answer in JSON. Fails when that is none, when it tells of an error, or of nothing done.
FioResult fio_result(const std::string& text, bool read);

/// The rate of each second of a run that took so long, from fio's log, which has no line for a
/// second without any I/O; lines that are none are left out. Of a run's last second fio does not
/// always tell, so where it does not, that one is missing and not 0. None of a log without a line.
std::vector<uint64_t> fio_log(const std::string& text, uint64_t milliseconds);

/// As lines KEY,VALUE: mean_latency_us, p99_latency_us, and iops once a second.
std::string details_of(const FioResult& result);

}  // namespace host
