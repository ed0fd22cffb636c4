#include "view/recommendation_output.h"

#include <cmath>

#include <fmt/format.h>

#include "output/text.h"
#include "view/fit_output.h"
#include "view/record_output.h"

namespace cli {

namespace {

constexpr auto kRight = Table::Align::right;

std::string percent_text(double share) { return fmt::format("{:.1f} %", share * 100); }

/// "+0.3 %"; what rounds to 0 has no sign of its own.
std::string slope_text(double share) {
    return fmt::format("{:+.1f} %", std::round(share * 1000) / 10 + 0.0);
}

std::string reason_text(const Recommendation& found) {
    if (found.required)
        return fmt::format("the smallest measured ratio with at least {:.0f}", *found.required);
    return found.knee.shape == Shape::kFlat ? "as the rate hardly depends on OP"
                                            : "the knee of the curve";
}

void add_choice(Lines& lines, const Assessment& assessment) {
    const Recommendation& found = assessment.recommendation;
    if (!found.chosen) {
        lines.push_back({"Recommended", "none: " + refusal_text(found)});
        return;
    }
    const int op = found.chosen->op;
    lines.push_back({"Recommended", fmt::format("OP {} %: {:.0f} IOPS, {}", op, found.chosen->iops,
                                                reason_text(found))});
    if (const auto margin = found.margin())
        lines.push_back({"Margin", fmt::format("{:.0f} IOPS, {} of the wish", *margin,
                                               percent_text(*margin / *found.required))});
    lines.push_back({"Capacity", fmt::format("{}, {} % of the volume of {}",
                                             size_text(assessment.cost_bytes(op)), op,
                                             size_text(assessment.volume_bytes()))});
    lines.push_back(
        {"Counted", fmt::format("as the share of the volume left free; as (raw - used) / "
                                "used, OP {} % is {:.1f} %",
                                op, op_over_used(op))});
}

void add_fitted_choice(Lines& lines, const Recommendation& found) {
    if (!found.fitted_op) return;
    const int op = *found.fitted_op;
    lines.push_back(
        {"By the fit", fmt::format("OP {} % would do with {:.0f} IOPS; it was not measured", op,
                                   found.fit->iops_at(op))});
}

std::string knee_text(const Knee& knee) {
    switch (knee.shape) {
        case Shape::kTooFewRatios:
            return "none: it takes three measured ratios";
        case Shape::kFlat:
            return "none: the rate hardly depends on OP";
        case Shape::kStraight:
            return "none: each percent of the volume brings about as much";
        case Shape::kKnee:
            break;
    }
    return fmt::format(
        "OP {} %: each percent of the volume brings {:.0f} IOPS up to it, {:.0f} "
        "beyond it",
        knee.op, knee.gain_before, knee.gain_beyond);
}

std::string ratios_text(const Assessment& assessment) {
    std::string text = fmt::format("{} measured", assessment.measured.size());
    for (const Unmeasured& ratio : assessment.unmeasured)
        text += fmt::format(", OP {} % {}", ratio.op, ratio.skipped ? "skipped" : "without a rate");
    const int status = assessment.record->status;
    if (status != SSD_OP_TEST_STATUS_COMPLETED)
        text += fmt::format("; the evaluation is {}", status_word(status));
    return text;
}

std::string rounds_text(const Measured& ratio) {
    const int op = ratio.result.op;
    const auto& found = ratio.observation.steadiness;
    if (!found) return fmt::format("unknown, OP {} % has no five rounds", op);
    return fmt::format("at OP {} % the last five rounds vary by {}, their slope is {}: {}", op,
                       percent_text(found->excursion), slope_text(found->slope),
                       steadiness_word(found));
}

std::string doubts_text(const Assessment& assessment) {
    const auto& hottest = assessment.decisive().observation.hottest;
    const auto& contradiction = assessment.recommendation.contradiction;
    std::string text;
    if (hottest) text += fmt::format("; {} °C at most", *hottest);
    if (hottest && *hottest >= kThrottling) text += ", where drives may slow down";
    if (assessment.margin_is_within_excursion())
        text += "; the margin is smaller than the variation";
    if (contradiction) text += fmt::format("; but OP {} % has less than the wish", *contradiction);
    return text;
}

Table table_of_ratios(const Assessment& assessment) {
    std::vector<Table::Column> columns = {
        {"OP", kRight},
        {"IOPS", kRight},
        {fmt::format("Gain over OP {}", assessment.measured.front().result.op), kRight},
        {"Excursion", kRight},
        {"Slope", kRight},
        {"Rounds"},
        {"Hottest", kRight},
        {"Write amplification", kRight},
        {"Lifetime", kRight}};
    if (assessment.endurance_tb) columns.push_back({"Host writes", kRight});
    return Table(columns);
}

std::vector<std::string> row_of(const Assessment& assessment, const Measured& ratio) {
    const auto& [result, observation, lifetime] = ratio;
    const auto& rounds = observation.steadiness;
    const auto shown = [](const auto& value, const char* format) {
        return value ? fmt::format(fmt::runtime(format), *value) : std::string("-");
    };
    std::vector<std::string> row = {fmt::format("{} %", result.op),
                                    shown(result.iops, "{:.0f}"),
                                    shown(result.gain_percent, "{:+.1f} %"),
                                    rounds ? percent_text(rounds->excursion) : "-",
                                    rounds ? slope_text(rounds->slope) : "-",
                                    steadiness_word(rounds),
                                    shown(observation.hottest, "{} °C"),
                                    shown(result.write_amplification, "{:.2f}"),
                                    shown(lifetime, "x {:.2f}")};
    if (assessment.endurance_tb)
        row.push_back(shown(assessment.host_terabytes(ratio), "{:.1f} TB"));
    return row;
}

}  // namespace

std::string refusal_text(const Recommendation& found) {
    if (found.required)
        return fmt::format("No measured ratio has {:.0f} IOPS; the best, OP {} %, has {:.0f}.",
                           *found.required, found.best.op, found.best.iops);
    return found.knee.shape == Shape::kTooFewRatios
               ? "A knee takes three measured ratios; name a wish (--min-iops, --gain)."
               : "The curve has no knee; name a wish (--min-iops, --gain).";
}

Lines recommendation_lines(const Assessment& assessment) {
    const Recommendation& found = assessment.recommendation;
    Lines lines;
    add_choice(lines, assessment);
    add_fitted_choice(lines, found);
    lines.push_back({"Knee", knee_text(found.knee)});
    lines.push_back({"Ratios", ratios_text(assessment)});
    lines.push_back({"How sure", rounds_text(assessment.decisive()) + doubts_text(assessment)});
    return lines;
}

Table measured_table(const Assessment& assessment) {
    Table table = table_of_ratios(assessment);
    for (const Measured& ratio : assessment.measured) table.add(row_of(assessment, ratio));
    return table;
}

std::string endurance_text(const Assessment& assessment) {
    if (!assessment.endurance_tb) return "";
    return fmt::format("Host writes: to each drive, until {:g} TB are written to its flash.\n",
                       *assessment.endurance_tb);
}

std::string recommendation_text(const Assessment& assessment) {
    return record_line(*assessment.record) + "\n\n" +
           lines_text(recommendation_lines(assessment), 13) + "\nMeasured\n" +
           measured_table(assessment).text() + endurance_text(assessment) + "\n" +
           fit_text(assessment);
}

}  // namespace cli
