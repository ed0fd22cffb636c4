#pragma once

#include <cstdint>

#include "provider/fio/options.h"

namespace provider::fio {

/// What a job came to.
struct Summary {
    uint64_t bytes = 0;
    uint64_t kib_per_second = 0;
    uint64_t iops = 0;
    uint64_t milliseconds = 0;
};

void print_start(const Job& job);
/// The line with the figures, "read :" for reads:
///
///       write: io=1024.0MB, bw=52345KB/s, iops=13086, runt= 20001msec
void print_summary(const Job& job, const Summary& summary);

}  // namespace provider::fio
