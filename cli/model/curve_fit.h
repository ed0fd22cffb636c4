#pragma once

#include <optional>

#include "model/results.h"

namespace cli {

/// Write amplification of greedy collection under uniform random writes, with blocks of very many
/// pages.
/// @param spare_factor physical pages for each mapped page, above 1
double greedy_write_amplification(double spare_factor);

/// Measured rates as the theory explains them. A write takes `base` seconds, and `copy` seconds for
/// each page that is copied for it: write amplification less 1.
struct CurveFit {
    double base;
    double copy;
    double factory_spare;         // share of what the host sees
    double largest_residual = 0;  // share of the measured rate
    bool checked = false;         // there were more rates than unknowns

    double iops_at(double op) const;
    bool is_close() const;
};

constexpr size_t kFewestRates = 3;  // there are as many unknowns
constexpr double kLeastFactorySpare = 0.01;
constexpr double kMostFactorySpare = 0.6;
constexpr double kLargestResidual = 0.03;  // of a fit that is used
constexpr int kFittedStep = 5;             // percent, from one fitted rate to the next

/// The fit with the least squares of relative errors; none of fewer than kFewestRates.
std::optional<CurveFit> fit_curve(const std::vector<Rate>& rates);

/// The smallest whole ratio above the one and below the other at which the fit has this rate.
std::optional<int> smallest_fitted(const CurveFit& fit, double iops, int above, int below);

struct FittedRate {
    int op;
    std::optional<double> measured;
    double fitted;
};

/// At the measured ratios, and between them at each multiple of kFittedStep.
std::vector<FittedRate> fitted_rates(const CurveFit& fit, const std::vector<Rate>& rates);

}  // namespace cli
