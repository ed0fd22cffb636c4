#include "page/sample_data.h"

#include <algorithm>

#include "model/samples.h"
#include "page/series.h"

namespace cli {

namespace {

template <typename List>
int64_t end_of(const List& samples) {
    int64_t end = 0;
    for (const auto& sample : samples) end = std::max(end, sample.time_slap);
    return end;
}

Json rate_series(int record_no, int op) {
    const RateSamples loaded = load_rates(record_no, op);
    const auto samples = shared::nodes(loaded.holder->runtime_report);
    Series series(end_of(samples));
    for (const auto& sample : samples) series.add(sample.time_slap, std::max(sample.result, 0));
    Json json = series.json();
    if (!json.is_null()) json["every"] = loaded.every;
    return json;
}

/// Of all drives together: a record may have more than a chart has room for.
Json temperature_series(ssd_op_db_record& record, int op) {
    load_temperatures(record, op);
    int64_t end = 0;
    for (const auto* drive : drives_of(record))
        end = std::max(end, end_of(shared::nodes(drive->runtime_data)));
    Series series(end);
    for (const auto* drive : drives_of(record)) {
        for (const auto& sample : shared::nodes(drive->runtime_data)) {
            if (sample.temperature > 0) series.add(sample.time_slap, sample.temperature);
        }
    }
    return series.json();
}

}  // namespace

Json sample_data(ssd_op_db_record& record) {
    Json list = Json::array();
    for (int i = 0; i < record.count; ++i) {
        const int op = record.percentage[i];
        Json iops = rate_series(record.record_no, op);
        Json celsius = temperature_series(record, op);
        if (iops.is_null() && celsius.is_null()) continue;
        list.push_back({{"op", op}, {"iops", std::move(iops)}, {"celsius", std::move(celsius)}});
    }
    return list;
}

}  // namespace cli
