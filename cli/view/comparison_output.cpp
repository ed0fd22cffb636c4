#include "view/comparison_output.h"

#include <algorithm>
#include <map>
#include <set>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "model/layout.h"
#include "output/table.h"
#include "output/text.h"
#include "view/curve_pairs.h"
#include "view/record_output.h"

namespace cli {

namespace {

constexpr auto kRight = Table::Align::right;

/// "4 x NS510-64 NS1.04, 64.0 GB", for each kind of drive.
std::string drives_text(const ssd_op_db_record& record) {
    std::map<std::string, int> kinds;
    for (const ssd_op_db_ssd_dev* drive : drives_of(record)) {
        ++kinds[fmt::format("{} {}, {}", printable(drive->model), printable(drive->revision),
                            size_text(drive->capacity))];
    }
    std::vector<std::string> texts;
    for (const auto& [kind, count] : kinds) texts.push_back(fmt::format("{} x {}", count, kind));
    return fmt::format("{}", fmt::join(texts, "; "));
}

std::string layout_text(const ssd_op_db_record& record) {
    std::vector<std::string> texts;
    for (const ssd_op_db_raid_conf& group : shared::groups(record))
        texts.push_back(Layout{group.raid_level, shared::drives(group).size()}.text());
    return fmt::format("{}", fmt::join(texts, "; "));
}

std::string setup_table(const std::vector<Assessment>& assessments) {
    Table table({{"Record", kRight},
                 {"Status"},
                 {"Drives"},
                 {"Layout"},
                 {"Volume", kRight},
                 {"Tested", kRight},
                 {"Writes"},
                 {"Title"}});
    for (const Assessment& assessment : assessments) {
        const ssd_op_db_record& record = *assessment.record;
        table.add({std::to_string(record.record_no), status_word(record.status),
                   drives_text(record), layout_text(record), size_text(assessment.volume_bytes()),
                   size_text(record.test_size * kMib),
                   record.sequential != 0 ? "sequential" : "random", printable(record.title)});
    }
    return table.text();
}

const Measured* measured_at(const Assessment& assessment, int op) {
    const auto found = std::find_if(assessment.measured.begin(), assessment.measured.end(),
                                    [op](const Measured& each) { return each.result.op == op; });
    return found == assessment.measured.end() ? nullptr : &*found;
}

/// One figure of each record at each ratio that one of them was measured at.
template <typename ToText>
std::string figure_table(const std::vector<Assessment>& assessments, Table::Align align,
                         ToText to_text) {
    std::vector<Table::Column> columns = {{"OP", kRight}};
    std::set<int> ops;
    for (const Assessment& assessment : assessments) {
        columns.push_back({fmt::format("Record {}", assessment.record->record_no), align});
        for (const Measured& ratio : assessment.measured) ops.insert(ratio.result.op);
    }
    Table table(columns);
    for (const int op : ops) {
        std::vector<std::string> row = {fmt::format("{} %", op)};
        for (const Assessment& assessment : assessments) {
            const Measured* ratio = measured_at(assessment, op);
            row.push_back(ratio != nullptr ? to_text(*ratio) : "");
        }
        table.add(row);
    }
    return table.text();
}

Json ratio_json(const Measured& ratio) {
    const auto& rounds = ratio.observation.steadiness;
    return {{"op", ratio.result.op},
            {"iops", or_null(ratio.result.iops)},
            {"gain_percent", or_null(ratio.result.gain_percent)},
            {"steady", rounds ? Json(rounds->is_steady()) : Json(nullptr)}};
}

Json assessment_json(const Assessment& assessment) {
    Json json = record_json(*assessment.record);
    json["results"] = json_list(assessment.measured, ratio_json);
    return json;
}

}  // namespace

std::string comparison_text(const std::vector<Assessment>& assessments) {
    const auto iops = [](const Measured& ratio) {
        return fmt::format("{:.0f}", ratio.result.iops.value_or(0));
    };
    const auto gain = [](const Measured& ratio) {
        return fmt::format("{:+.1f} %", ratio.result.gain_percent.value_or(0));
    };
    const auto rounds = [](const Measured& ratio) {
        return std::string(steadiness_word(ratio.observation.steadiness));
    };
    return setup_table(assessments) + "\nIOPS\n" + figure_table(assessments, kRight, iops) +
           "\nGain over the lowest measured ratio of the record\n" +
           figure_table(assessments, kRight, gain) + "\nRounds\n" +
           figure_table(assessments, Table::Align::left, rounds) +
           "\nCurves, on straight lines between measured ratios\n" + curve_pairs_text(assessments);
}

Json comparison_json(const std::vector<Assessment>& assessments) {
    return {{"records", json_list(assessments, assessment_json)},
            {"pairs", curve_pairs_json(assessments)}};
}

}  // namespace cli
