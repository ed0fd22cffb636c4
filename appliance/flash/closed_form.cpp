#include "flash/closed_form.h"

#include <cmath>

namespace appliance::flash {

namespace {

/// The argument between `low` and `high` at which a falling function passes zero.
template <typename Function>
double root(Function&& falling, double low, double high) {
    for (int i = 0; i < 200; ++i) {
        const double middle = 0.5 * (low + high);
        (falling(middle) > 0.0 ? low : high) = middle;
    }
    return 0.5 * (low + high);
}

}  // namespace

double expected_write_amplification(double ratio) {
    // w exp(w) rises from -1/e at -1 to 0 at 0: that stretch is the principal branch.
    const double argument = -ratio * std::exp(-ratio);
    const double lambert = root([&](double w) { return argument - w * std::exp(w); }, -1.0, 0.0);
    return ratio / (ratio + lambert);
}

double expected_write_amplification(double ratio, unsigned pages_per_block) {
    // Blocks of i valid pages lose them at a rate of i, so there are 1/i as many of them; the sum
    // of 1/i from a victim's count to a full block is the difference of two logarithms.
    const double pages = pages_per_block;
    const auto excess = [&](double victim) {
        return pages / (pages - victim) * std::log((pages + 0.5) / (victim + 0.5)) - ratio;
    };
    return pages / (pages - root(excess, 0.0, pages * (1.0 - 1e-12)));
}

}  // namespace appliance::flash
