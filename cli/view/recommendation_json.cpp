#include "view/recommendation_json.h"

#include "view/record_output.h"

namespace cli {

namespace {

Json choice_json(const Assessment& assessment) {
    const Recommendation& found = assessment.recommendation;
    if (!found.chosen) return nullptr;
    const auto margin = found.margin();
    const int op = found.chosen->op;
    return {{"op", op},
            {"iops", found.chosen->iops},
            {"margin_iops", or_null(margin)},
            {"margin_percent", margin ? Json(*margin / *found.required * 100) : Json(nullptr)},
            {"capacity_bytes", assessment.cost_bytes(op)},
            {"capacity_percent", op},
            {"op_over_used_percent", op_over_used(op)},
            {"margin_within_excursion", assessment.margin_is_within_excursion()},
            {"below_wish_op", or_null(found.contradiction)}};
}

const char* shape_word(Shape shape) {
    switch (shape) {
        case Shape::kTooFewRatios:
            return "too few ratios";
        case Shape::kFlat:
            return "flat";
        case Shape::kStraight:
            return "straight";
        case Shape::kKnee:
            break;
    }
    return "knee";
}

Json knee_json(const Knee& knee) {
    Json json = {{"shape", shape_word(knee.shape)}};
    if (knee.shape != Shape::kKnee) return json;
    json.update({{"op", knee.op},
                 {"iops_per_percent_before", knee.gain_before},
                 {"iops_per_percent_beyond", knee.gain_beyond}});
    return json;
}

Json ratio_json(const Assessment& assessment, const Measured& ratio) {
    const auto& [result, observation, lifetime] = ratio;
    const auto& rounds = observation.steadiness;
    return {{"op", result.op},
            {"iops", or_null(result.iops)},
            {"gain_percent", or_null(result.gain_percent)},
            {"excursion_percent", rounds ? Json(rounds->excursion * 100) : Json(nullptr)},
            {"slope_percent", rounds ? Json(rounds->slope * 100) : Json(nullptr)},
            {"steady", rounds ? Json(rounds->is_steady()) : Json(nullptr)},
            {"hottest_celsius", or_null(observation.hottest)},
            {"write_amplification", or_null(result.write_amplification)},
            {"lifetime_factor", or_null(lifetime)},
            {"host_terabytes", or_null(assessment.host_terabytes(ratio))}};
}

Json fit_json(const Assessment& assessment) {
    const std::string refusal = assessment.refusal_of_fit();
    const auto& found = assessment.recommendation;
    Json json = {{"refused", refusal.empty() ? Json(nullptr) : Json(refusal)}};
    if (found.fit) {
        json["largest_residual_percent"] = found.fit->largest_residual * 100;
        json["checked"] = found.fit->checked;
    }
    if (!refusal.empty()) return json;
    json["factory_spare_percent"] = found.fit->factory_spare * 100;
    json["smallest_op"] = or_null(found.fitted_op);
    json["rates"] = json_list(fitted_rates(*found.fit, assessment.rates), [](const FittedRate&
                                                                                 rate) {
        return Json{{"op", rate.op}, {"measured", or_null(rate.measured)}, {"fitted", rate.fitted}};
    });
    return json;
}

}  // namespace

Json recommendation_json(const Assessment& assessment) {
    const Recommendation& found = assessment.recommendation;
    Json json = record_head_json(*assessment.record);
    json.update(
        {{"required_iops", or_null(found.required)},
         {"recommended", choice_json(assessment)},
         {"best", {{"op", found.best.op}, {"iops", found.best.iops}}},
         {"volume_bytes", assessment.volume_bytes()},
         {"knee", knee_json(found.knee)},
         {"measured",
          json_list(assessment.measured,
                    [&](const Measured& ratio) { return ratio_json(assessment, ratio); })},
         {"unmeasured", json_list(assessment.unmeasured,
                                  [](const Unmeasured& ratio) {
                                      return Json{{"op", ratio.op}, {"skipped", ratio.skipped}};
                                  })},
         {"fit", fit_json(assessment)}});
    return json;
}

}  // namespace cli
