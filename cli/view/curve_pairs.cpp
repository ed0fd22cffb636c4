#include "view/curve_pairs.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "model/crossing.h"

namespace cli {

namespace {

/// Two records and, when they can be compared, their curves.
struct Pair {
    int first, second;  // their numbers
    bool same_writes;
    std::optional<CurvePair> curves;

    int record(int faster) const { return faster == 1 ? first : second; }
};

std::vector<Pair> pairs_of(const std::vector<Assessment>& assessments) {
    std::vector<Pair> pairs;
    for (auto first = assessments.begin(); first != assessments.end(); ++first) {
        for (auto second = first + 1; second != assessments.end(); ++second) {
            const bool same_writes =
                (first->record->sequential != 0) == (second->record->sequential != 0);
            pairs.push_back({first->record->record_no, second->record->record_no, same_writes,
                             same_writes ? pair_of(first->rates, second->rates) : std::nullopt});
        }
    }
    return pairs;
}

std::string span_text(double from, double to) {
    if (from == to) return fmt::format("at OP {:.0f} %", from);
    return fmt::format("from OP {:.0f} to {:.0f} %", from, to);
}

std::string place_text(const Meeting& meeting) {
    if (meeting.from < meeting.to) return "are the same " + span_text(meeting.from, meeting.to);
    const bool at_end = meeting.faster_before == 0 || meeting.faster_after == 0;
    const char* what = meeting.is_crossing() ? "cross" : at_end ? "meet" : "touch";
    if (meeting.below == meeting.above) return fmt::format("{} at OP {} %", what, meeting.below);
    return fmt::format("{} between OP {} and {} %, at about {:.1f} %", what, meeting.below,
                       meeting.above, meeting.from);
}

std::string meeting_text(const Pair& pair, const Meeting& meeting) {
    std::vector<std::string> sides;
    if (meeting.faster_before != 0)
        sides.push_back(fmt::format("{} is faster below", pair.record(meeting.faster_before)));
    if (meeting.faster_after != 0)
        sides.push_back(fmt::format("{} is faster above", pair.record(meeting.faster_after)));
    return fmt::format("{} ({})", place_text(meeting), fmt::join(sides, ", "));
}

/// Of curves that do not meet.
std::string lead_text(const Pair& pair, const CurvePair& curves) {
    double least = curves.least, most = curves.most;
    const bool second = least > 0;
    if (!second) {  // as shares of the slower one, here too
        least = 1 / (1 + curves.most) - 1;
        most = 1 / (1 + curves.least) - 1;
    }
    const std::string from = fmt::format("{:.1f}", least * 100);
    const std::string to = fmt::format("{:.1f} %", most * 100);
    const std::string by = to.starts_with(from + " ") ? to : from + " to " + to;
    return fmt::format("{} is faster {}, by {}", pair.record(second ? 2 : 1),
                       span_text(curves.first_op, curves.last_op), by);
}

std::string pair_text(const Pair& pair) {
    if (!pair.same_writes) return "not compared: one was measured by sequential writes";
    if (!pair.curves) return "no ratio lies within both";
    const CurvePair& curves = *pair.curves;
    if (curves.is_identical()) return "the same " + span_text(curves.first_op, curves.last_op);
    if (curves.meetings.empty()) return lead_text(pair, curves);
    std::vector<std::string> texts;
    for (const Meeting& meeting : curves.meetings) texts.push_back(meeting_text(pair, meeting));
    return fmt::format("{}", fmt::join(texts, "; "));
}

Json meeting_json(const Pair& pair, const Meeting& meeting) {
    const auto faster = [&](int curve) {
        return curve == 0 ? Json(nullptr) : Json(pair.record(curve));
    };
    return {{"crosses", meeting.is_crossing()},
            {"from_op", meeting.from},
            {"to_op", meeting.to},
            {"between", {meeting.below, meeting.above}},
            {"faster_below", faster(meeting.faster_before)},
            {"faster_above", faster(meeting.faster_after)}};
}

Json pair_json(const Pair& pair) {
    Json json = {{"records", {pair.first, pair.second}}, {"same_writes", pair.same_writes}};
    if (!pair.curves) return json;
    const CurvePair& curves = *pair.curves;
    json.update({{"first_op", curves.first_op},
                 {"last_op", curves.last_op},
                 {"identical", curves.is_identical()},
                 {"least_gain_percent", curves.least * 100},
                 {"largest_gain_percent", curves.most * 100},
                 {"meetings", json_list(curves.meetings, [&](const Meeting& meeting) {
                      return meeting_json(pair, meeting);
                  })}});
    return json;
}

}  // namespace

std::string curve_pairs_text(const std::vector<Assessment>& assessments) {
    std::string text;
    for (const Pair& pair : pairs_of(assessments))
        text += fmt::format("{} and {}: {}\n", pair.first, pair.second, pair_text(pair));
    return text;
}

Json curve_pairs_json(const std::vector<Assessment>& assessments) {
    return json_list(pairs_of(assessments), pair_json);
}

}  // namespace cli
