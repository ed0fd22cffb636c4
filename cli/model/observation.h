#pragma once

#include <optional>

#include "model/record.h"
#include "model/steadiness.h"

namespace cli {

/// What a record's samples tell about the measurement of one ratio.
struct Observation {
    std::optional<Steadiness> steadiness;
    std::optional<int> hottest;  // degrees Celsius; none when no drive told
};

constexpr int kThrottling = 70;  // degrees Celsius from which drives may slow down

/// @param record its drives' samples are replaced
/// @throws Failure when samples cannot be read
Observation observe(ssd_op_db_record& record, int op);

}  // namespace cli
