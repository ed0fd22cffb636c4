#include "page/report_data.h"

#include <ctime>

#include "model/assessment.h"
#include "model/event.h"
#include "output/lines.h"
#include "output/table.h"
#include "output/text.h"
#include "page/event_data.h"
#include "page/sample_data.h"
#include "page/series.h"
#include "view/fit_output.h"
#include "view/recommendation_json.h"
#include "view/recommendation_output.h"
#include "view/record_output.h"

namespace cli {

namespace {

Json table_json(const Table& table) {
    const auto column_json = [](const Table::Column& column) {
        return Json{{"heading", column.heading}, {"number", column.align == Table::Align::right}};
    };
    return {{"columns", json_list(table.headings(), column_json)}, {"rows", table.rows()}};
}

Json group_data(const ssd_op_db_raid_conf& group) {
    return {{"title", group_line(group)}, {"drives", table_json(group_table(group))}};
}

Json assessment_data(const Assessment& assessment) {
    Json json = {{"figures", recommendation_json(assessment)},
                 {"lines", lines_json(recommendation_lines(assessment))},
                 {"measured", table_json(measured_table(assessment))},
                 {"endurance", endurance_text(assessment)},
                 {"fit", fit_heading(assessment)}};
    if (assessment.refusal_of_fit().empty()) json["fitted"] = table_json(fit_table(assessment));
    return json;
}

/// Null when no ratio of the record has a rate.
Json assessment_of(const ssd_op_db_record& record, const Wish& wish,
                   std::optional<double> endurance_tb) {
    if (rates_of(results_of(record)).empty()) return nullptr;
    return assessment_data(assess(record.record_no, wish, endurance_tb));
}

}  // namespace

Json report_data(const std::vector<int>& record_nos, const Wish& wish,
                 std::optional<double> endurance_tb) {
    const std::vector<NASLOG_EVENT> events = load_events(kMostEvents);
    Json records = Json::array();
    for (const int record_no : record_nos) {
        const Record record = require_record(record_no);
        records.push_back({{"record", record_json(*record)},
                           {"facts", lines_json(record_facts(*record))},
                           {"assessment", assessment_of(*record, wish, endurance_tb)},
                           {"results", table_json(results_table(*record))},
                           {"samples", sample_data(*record)},
                           {"groups", json_list(shared::groups(*record), group_data)},
                           {"events", event_data(*record, events)},
                           {"appliance", lines_json(appliance_facts(*record))}});
    }
    return {{"made", moment_text(std::time(nullptr))},
            {"spans", kSpans},
            {"throttling_celsius", kThrottling},
            {"records", std::move(records)}};
}

}  // namespace cli
