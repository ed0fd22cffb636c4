#include "model/recommendation.h"

#include <algorithm>
#include <iterator>

namespace cli {

namespace {

using Place = std::vector<Rate>::const_iterator;

std::optional<double> required_by(const Wish& wish, double lowest_iops) {
    std::optional<double> required = wish.min_iops;
    if (wish.gain_percent)
        required = std::max(required.value_or(0), lowest_iops * (1 + *wish.gain_percent / 100));
    return required;
}

Place smallest_with(const std::vector<Rate>& rates, double iops) {
    return std::find_if(rates.begin(), rates.end(),
                        [iops](const Rate& rate) { return rate.iops >= iops; });
}

void choose_by_wish(Recommendation& found, const std::vector<Rate>& rates) {
    const double required = *found.required;
    const Place chosen = smallest_with(rates, required);
    if (chosen == rates.end()) return;
    found.chosen = *chosen;
    const auto below = std::find_if(chosen, rates.end(),
                                    [required](const Rate& rate) { return rate.iops < required; });
    if (below != rates.end()) found.contradiction = below->op;
    if (chosen != rates.begin() && found.fit && found.fit->is_close())
        found.fitted_op = smallest_fitted(*found.fit, required, std::prev(chosen)->op, chosen->op);
}

void choose_by_shape(Recommendation& found, const std::vector<Rate>& rates) {
    if (found.knee.shape == Shape::kFlat) found.chosen = rates.front();
    if (found.knee.shape != Shape::kKnee) return;
    const int op = found.knee.op;
    found.chosen =
        *std::find_if(rates.begin(), rates.end(), [op](const Rate& rate) { return rate.op == op; });
}

}  // namespace

Recommendation recommend(const std::vector<Rate>& rates, const Wish& wish, bool random_writes) {
    Recommendation found{};
    found.required = required_by(wish, rates.front().iops);
    found.best = *std::max_element(rates.begin(), rates.end(),
                                   [](const Rate& a, const Rate& b) { return a.iops < b.iops; });
    found.knee = knee_of(rates);
    if (random_writes) found.fit = fit_curve(rates);
    if (found.required)
        choose_by_wish(found, rates);
    else
        choose_by_shape(found, rates);
    return found;
}

std::optional<double> Recommendation::margin() const {
    if (!chosen || !required) return std::nullopt;
    return chosen->iops - *required;
}

double op_over_used(int op) { return 100.0 * op / (100 - op); }

std::optional<double> lifetime_factor(const std::vector<Result>& results, const Result& result) {
    const auto lowest = std::find_if(results.begin(), results.end(),
                                     [](const Result& each) { return each.iops.has_value(); });
    if (lowest == results.end() || !result.iops) return std::nullopt;
    if (!lowest->write_amplification || !result.write_amplification) return std::nullopt;
    return *lowest->write_amplification / *result.write_amplification;
}

}  // namespace cli
