#include "model/curve_fit.h"

#include <algorithm>
#include <cmath>

namespace cli {

namespace {

constexpr int kGridPoints = 48;
constexpr int kRefinements = 60;

double copies_at(double factory_spare, double op) {
    return greedy_write_amplification((1 + factory_spare) / (1 - op / 100)) - 1;
}

/// A fit with its factory spare given, and the sum of its squared relative errors.
struct Trial {
    CurveFit fit;
    double error;
};

/// Sums over the measured rates of an equation that is linear in the two unknowns:
/// base * x + copy * y = 1, with x the rate and y the rate times the copies for a write.
class Equations {
  public:
    Equations(const std::vector<Rate>& rates, double factory_spare)
        : factory_spare_(factory_spare), count_(static_cast<double>(rates.size())) {
        for (const Rate& rate : rates) {
            const double x = rate.iops, y = x * copies_at(factory_spare, rate.op);
            xx_ += x * x;
            xy_ += x * y;
            yy_ += y * y;
            x_ += x;
            y_ += y;
        }
    }

    /// Neither unknown is negative: where the free solution has one that is, the best one lies on
    /// an axis. Where nothing is copied at any ratio, that of `copy` is no number.
    Trial solution() const {
        const double determinant = xx_ * yy_ - xy_ * xy_;
        if (determinant > 1e-12 * xx_ * yy_) {
            const double base = (x_ * yy_ - y_ * xy_) / determinant;
            const double copy = (y_ * xx_ - x_ * xy_) / determinant;
            if (base >= 0 && copy >= 0) return trial(base, copy);
        }
        const Trial base_alone = trial(x_ / xx_, 0), copy_alone = trial(0, y_ / yy_);
        return copy_alone.error < base_alone.error ? copy_alone : base_alone;
    }

  private:
    Trial trial(double base, double copy) const {
        const double squares = base * base * xx_ + 2 * base * copy * xy_ + copy * copy * yy_;
        return {{base, copy, factory_spare_}, squares - 2 * (base * x_ + copy * y_) + count_};
    }

    double factory_spare_;
    double count_;
    double xx_ = 0, xy_ = 0, yy_ = 0, x_ = 0, y_ = 0;
};

Trial trial_at(const std::vector<Rate>& rates, double factory_spare) {
    return Equations(rates, factory_spare).solution();
}

/// Golden section.
double least_between(double low, double high, const std::vector<Rate>& rates) {
    const double part = (std::sqrt(5.0) - 1) / 2;
    for (int i = 0; i < kRefinements; ++i) {
        const double step = part * (high - low);
        if (trial_at(rates, high - step).error < trial_at(rates, low + step).error)
            high = low + step;
        else
            low = high - step;
    }
    return (low + high) / 2;
}

double grid_point(int i) {
    const double whole = kMostFactorySpare / kLeastFactorySpare;
    return kLeastFactorySpare * std::pow(whole, double(i) / (kGridPoints - 1));
}

}  // namespace

double greedy_write_amplification(double spare_factor) {
    // A victim whose share of valid pages is v gives a write amplification of 1 / (1 - v) at a
    // spare factor of ln(1 / v) / (1 - v), which falls as v rises.
    double low = 0, high = 1;
    for (int i = 0; i < 60; ++i) {
        const double valid = (low + high) / 2;
        (-std::log(valid) > spare_factor * (1 - valid) ? low : high) = valid;
    }
    return 1 / (1 - low);
}

double CurveFit::iops_at(double op) const {
    return 1 / (base + copy * copies_at(factory_spare, op));
}

bool CurveFit::is_close() const { return largest_residual <= kLargestResidual; }

std::optional<CurveFit> fit_curve(const std::vector<Rate>& rates) {
    if (rates.size() < kFewestRates) return std::nullopt;
    int best = 0;
    double least = trial_at(rates, grid_point(0)).error;
    for (int i = 1; i < kGridPoints; ++i) {
        const double error = trial_at(rates, grid_point(i)).error;
        if (error < least) {
            best = i;
            least = error;
        }
    }
    const double low = grid_point(std::max(best - 1, 0));
    const double high = grid_point(std::min(best + 1, kGridPoints - 1));
    CurveFit fit = trial_at(rates, least_between(low, high, rates)).fit;
    fit.checked = rates.size() > kFewestRates;
    for (const Rate& rate : rates) {
        const double residual = std::abs(fit.iops_at(rate.op) / rate.iops - 1);
        fit.largest_residual = std::max(fit.largest_residual, residual);
    }
    return fit;
}

std::optional<int> smallest_fitted(const CurveFit& fit, double iops, int above, int below) {
    for (int op = above + 1; op < below; ++op) {
        if (fit.iops_at(op) >= iops) return op;
    }
    return std::nullopt;
}

std::vector<FittedRate> fitted_rates(const CurveFit& fit, const std::vector<Rate>& rates) {
    std::vector<FittedRate> fitted;
    int last = rates.front().op;
    for (const Rate& rate : rates) {
        for (int op = (last / kFittedStep + 1) * kFittedStep; op < rate.op; op += kFittedStep)
            fitted.push_back({op, {}, fit.iops_at(op)});
        fitted.push_back({rate.op, rate.iops, fit.iops_at(rate.op)});
        last = rate.op;
    }
    return fitted;
}

}  // namespace cli
