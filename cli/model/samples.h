#pragma once

#include "model/record.h"

namespace cli {

/// Samples of a ratio that are read at once. Of more, every second or third and so on is: the rest
/// would take memory and not be seen.
constexpr int kMostSamples = 1'000'000;

/// Rates that were sampled at a ratio, in the order of time.
struct RateSamples {
    Record holder;  // its runtime_report
    int every;      // 1: all were read
};

/// @throws Failure when samples cannot be read
RateSamples load_rates(int record_no, int op);

/// Replaces the temperatures that the record's drives have by those of a ratio. A drive that did
/// not tell its temperature has 0.
/// @throws Failure when samples cannot be read
void load_temperatures(ssd_op_db_record& record, int op);

/// For whoever reads samples in another way.
[[noreturn]] void fail_reading_samples(int record_no);

}  // namespace cli
