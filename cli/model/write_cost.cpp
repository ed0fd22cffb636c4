#include "model/write_cost.h"

#include <algorithm>
#include <cmath>

#include "model/curve_fit.h"

namespace cli {

namespace {

// Reads in programs of 4 KiB, of flash with three bits a cell: 70 us, and 900 us for eight units.
constexpr double kRead = 0.8;       // of the host: they meet on some dies while others are idle
constexpr double kCopyRead = 0.25;  // for a copy, which finds some of its units together
constexpr double kLeastSpareFactor = 1.005;

}  // namespace

double DriveUse::tested_at(int op) const {
    return tested > 0 ? std::min(tested, mapped_at(op)) : mapped_at(op);
}

double DriveUse::spare_factor_at(int op) const {
    const double area = tested_at(op);
    return std::max((flash - (mapped_at(op) - area)) / area, kLeastSpareFactor);
}

double write_amplification_at(const DriveUse& use, int op) {
    return greedy_write_amplification(use.spare_factor_at(op));
}

double flash_of(const DriveUse& use, int op, double write_amplification) {
    const double spare_factor =
        write_amplification * std::log(write_amplification / (write_amplification - 1));
    return spare_factor * use.tested_at(op) + use.mapped_at(op) - use.tested_at(op);
}

double write_cost(const Layout& layout, double write_amplification) {
    const auto [writes, reads] = layout.random_write_operations();
    const double copies = write_amplification - 1;
    return writes * (write_amplification + kCopyRead * copies) + reads * kRead;
}

}  // namespace cli
