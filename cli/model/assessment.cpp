#include "model/assessment.h"

#include <algorithm>

#include <fmt/format.h>

#include "output/failure.h"
#include "output/text.h"

namespace cli {

namespace {

Failure nothing_measured(const ssd_op_db_record& record) {
    return {kRefused,
            fmt::format("No ratio of record {} has a rate; the evaluation is {}.", record.record_no,
                        status_word(record.status)),
            is_running(record.status) ? "ssd-op watch shows how far it is."
                                      : "ssd-op list shows other records, ssd-op start makes one."};
}

std::vector<Measured> measured_ratios(ssd_op_db_record& record, const std::vector<Result>& results,
                                      const std::vector<Rate>& rates) {
    std::vector<Measured> measured;
    for (const Rate& rate : rates) {
        const auto result = std::find_if(results.begin(), results.end(), [&](const Result& each) {
            return each.op == rate.op && each.iops == rate.iops;
        });
        measured.push_back({*result, observe(record, rate.op), lifetime_factor(results, *result)});
    }
    return measured;
}

}  // namespace

uint64_t Assessment::volume_bytes() const { return record->lv_size * kMib; }

uint64_t Assessment::cost_bytes(int op) const {
    return record->lv_size * static_cast<uint64_t>(op) * kMib / 100;
}

const Measured& Assessment::decisive() const {
    const Rate& rate = recommendation.chosen ? *recommendation.chosen : recommendation.best;
    return *std::find_if(measured.begin(), measured.end(),
                         [&](const Measured& each) { return each.result.op == rate.op; });
}

bool Assessment::margin_is_within_excursion() const {
    const auto margin = recommendation.margin();
    const auto& rounds = decisive().observation.steadiness;
    return margin && rounds && *margin < rounds->excursion * recommendation.chosen->iops;
}

std::string Assessment::refusal_of_fit() const {
    const auto& fit = recommendation.fit;
    if (record->sequential != 0) return "the theory is one of random writes";
    if (!fit) return "it takes three measured ratios";
    if (fit->is_close()) return "";
    return fmt::format("the curve does not fit, it is off by up to {:.1f} %",
                       fit->largest_residual * 100);
}

std::optional<double> Assessment::host_terabytes(const Measured& ratio) const {
    const auto& amplification = ratio.result.write_amplification;
    if (!endurance_tb || !amplification) return std::nullopt;
    return *endurance_tb / *amplification;
}

Assessment assess(int record_no, const Wish& wish, std::optional<double> endurance_tb) {
    Record record = require_record(record_no);
    const std::vector<Result> results = results_of(*record);
    std::vector<Rate> rates = rates_of(results);
    if (rates.empty()) throw nothing_measured(*record);
    std::vector<Measured> measured = measured_ratios(*record, results, rates);
    std::vector<Unmeasured> unmeasured = unmeasured_of(*record, rates);
    Recommendation recommendation = recommend(rates, wish, record->sequential == 0);
    return {
        std::move(record),     wish,          endurance_tb, std::move(rates), std::move(measured),
        std::move(unmeasured), recommendation};
}

}  // namespace cli
