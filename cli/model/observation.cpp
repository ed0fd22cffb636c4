#include "model/observation.h"

#include <algorithm>

#include <fmt/format.h>

#include "output/failure.h"

namespace cli {

namespace {

Failure unreadable(int record_no) {
    return {kFailed, fmt::format("The samples of record {} cannot be read.", record_no),
            "ssd-op db check tells more."};
}

std::vector<double> sampled_rates(int record_no, int op) {
    const Record holder = empty_record();
    if (SSD_OP_DB_Query_Record_Runtime_Report(holder.get(), record_no, op, 1) != 0)
        throw unreadable(record_no);
    std::vector<double> rates;
    for (const auto& sample : shared::nodes(holder->runtime_report)) rates.push_back(sample.result);
    return rates;
}

std::optional<int> hottest_drive(ssd_op_db_record& record, int op) {
    int hottest = 0;  // which a drive has that does not tell
    for (auto& group : shared::groups(record)) {
        SSD_OP_DB_Free_SSD_Runtime_Data(&group);
        for (ssd_op_db_ssd_dev& drive : shared::drives(group)) {
            if (SSD_OP_DB_Query_SSD_Runtime_Data(&drive, record.record_no, op) != 0)
                throw unreadable(record.record_no);
            for (const auto& sample : shared::nodes(drive.runtime_data))
                hottest = std::max(hottest, sample.temperature);
        }
    }
    return hottest > 0 ? std::optional(hottest) : std::nullopt;
}

}  // namespace

Observation observe(ssd_op_db_record& record, int op) {
    return {steadiness_of(sampled_rates(record.record_no, op)), hottest_drive(record, op)};
}

}  // namespace cli
