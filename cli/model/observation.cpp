#include "model/observation.h"

#include <algorithm>

#include "model/samples.h"
#include "model/step_rows.h"

namespace cli {

namespace {

std::vector<double> sampled_rates(int record_no, int op) {
    const Record holder = empty_record();
    if (SSD_OP_DB_Query_Record_Runtime_Report(holder.get(), record_no, op, 1) != 0)
        fail_reading_samples(record_no);
    std::vector<double> rates;
    for (const auto* row : step_rows(*holder)) rates.push_back(row->result);
    return rates;
}

std::optional<int> hottest_drive(ssd_op_db_record& record, int op) {
    load_temperatures(record, op);
    int hottest = 0;
    for (const ssd_op_db_ssd_dev* drive : drives_of(record)) {
        for (const auto& sample : shared::nodes(drive->runtime_data))
            hottest = std::max(hottest, sample.temperature);
    }
    return hottest > 0 ? std::optional(hottest) : std::nullopt;
}

}  // namespace

Observation observe(ssd_op_db_record& record, int op) {
    return {steadiness_of(sampled_rates(record.record_no, op)), hottest_drive(record, op)};
}

}  // namespace cli
