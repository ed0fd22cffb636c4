#include "model/results.h"

#include <algorithm>

namespace cli {

namespace {

std::optional<double> measured(long double value) {
    return value > 0 ? std::optional(static_cast<double>(value)) : std::nullopt;
}

}  // namespace

std::vector<Result> results_of(const ssd_op_db_record& record) {
    std::vector<Result> results;
    std::optional<double> baseline;
    for (int i = 0; i < record.count; ++i) {
        Result result{};
        result.op = record.percentage[i];
        result.skipped = SSD_OP_Test_Is_Skip_OP(record.record_no, result.op) == 1;
        result.write_amplification = measured(record.result_1[i]);
        result.iops = measured(record.result_2[i]);
        if (!baseline) baseline = result.iops;
        if (result.iops) result.gain_percent = (*result.iops / *baseline - 1) * 100;
        results.push_back(result);
    }
    return results;
}

std::optional<int> baseline_of(const std::vector<Result>& results) {
    const auto first = std::find_if(results.begin(), results.end(),
                                    [](const Result& result) { return result.iops.has_value(); });
    return first == results.end() ? std::nullopt : std::optional(first->op);
}

}  // namespace cli
