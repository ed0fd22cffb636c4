#include "model/results.h"

#include <algorithm>

#include "shared/ratios.h"

namespace cli {

namespace {

constexpr double kMostIops = 1e12;  // beyond what any drive does: the database is damaged

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

std::vector<Rate> rates_of(const std::vector<Result>& results) {
    std::vector<Rate> rates;
    int least = 0;
    for (const Result& result : results) {
        if (!result.iops || *result.iops > kMostIops) continue;
        if (result.op < least || result.op > 99) continue;
        rates.push_back({result.op, *result.iops});
        least = result.op + 1;  // a database from elsewhere may have a ratio twice
    }
    return rates;
}

std::vector<Unmeasured> unmeasured_of(const ssd_op_db_record& record,
                                      const std::vector<Rate>& rates) {
    std::vector<Unmeasured> unmeasured;
    const int64_t count =
        ssd_op::shared::ratio_count(record.min_op, record.max_op, record.interval);
    for (int64_t i = 0; i < std::min<int64_t>(count, SSD_OP_MAX_RATIOS); ++i) {
        const int op = static_cast<int>(record.min_op + i * record.interval);
        if (std::none_of(rates.begin(), rates.end(), [op](const Rate& r) { return r.op == op; }))
            unmeasured.push_back({op, SSD_OP_Test_Is_Skip_OP(record.record_no, op) == 1});
    }
    return unmeasured;
}

}  // namespace cli
