#pragma once

#include <optional>
#include <vector>

#include "model/curve_fit.h"
#include "model/knee.h"
#include "model/results.h"

namespace cli {

/// What the user asks of the drives.
struct Wish {
    std::optional<double> min_iops;
    std::optional<double> gain_percent;  // over the lowest measured ratio
};

/// How much OP measured rates speak for.
struct Recommendation {
    std::optional<double> required;    // IOPS that the wish comes to; none without a wish
    std::optional<Rate> chosen;        // the smallest measured ratio that has them
    std::optional<int> contradiction;  // a larger ratio that was measured below them
    Rate best;
    Knee knee;
    std::optional<CurveFit> fit;
    std::optional<int> fitted_op;  // smaller than the chosen ratio, not measured, enough by the fit

    std::optional<double> margin() const;  // IOPS of the choice above those required
};

/// Without a wish the choice is the knee, and the lowest ratio where the rate is flat.
/// @param rates        by ascending ratio, at least one
/// @param random_writes the fit's theory holds for them alone
Recommendation recommend(const std::vector<Rate>& rates, const Wish& wish, bool random_writes);

/// An OP ratio, percent of the whole, as percent of what stays in use.
double op_over_used(int op);

/// How many times as long drives live as at the lowest measured ratio, whose write amplification is
/// known as well; none where either is not.
std::optional<double> lifetime_factor(const std::vector<Result>& results, const Result& result);

}  // namespace cli
