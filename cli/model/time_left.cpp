#include "model/time_left.h"

#include <algorithm>

namespace cli {

namespace {

constexpr double kRandomBlock = 4096;
constexpr double kSequentialBlock = 1 << 20;

/// From one ratio to another: rates rise as the drives copy less, and there is less to write.
class Prediction {
  public:
    Prediction(const Course& course, const FinishedRatio& known)
        : course_(course), known_(known), use_(course.use), rounds_(course.rounds_seconds()) {
        if (known.write_amplification.value_or(0) > 1)
            use_.flash = flash_of(use_, known.op, *known.write_amplification);
    }

    double seconds_at(int op) const {
        const double writing = writing_at(op), known_writing = writing_at(known_.op);
        if (was_given_up()) return std::min(writing + rounds_, known_.seconds);
        // In the steady state from the beginning, or faster before it.
        const double spent = std::max(known_.seconds - rounds_, 0.0);
        if (spent >= known_writing) return writing + known_.seconds - known_writing;
        return spent * writing / known_writing + rounds_;
    }

  private:
    double bytes_at(int op) const {
        return kPasses * use_.tested_at(op) / use_.mapped * course_.volume;
    }
    double writing_at(int op) const {
        const double block = course_.sequential ? kSequentialBlock : kRandomBlock;
        return bytes_at(op) / block / known_.iops * cost_at(op) / cost_at(known_.op);
    }
    double cost_at(int op) const {
        if (course_.sequential) return 1;
        return write_cost(course_.layout, write_amplification_at(use_, op));
    }
    /// Too little was written to measure it. Rates are means, so the sum is not exact.
    bool was_given_up() const { return known_.written < 0.95 * bytes_at(known_.op); }

    const Course& course_;
    const FinishedRatio& known_;
    DriveUse use_;
    double rounds_;
};

/// The current ratio as if it had been finished already, after what the script tells of it. The
/// script counts its seconds for a round, and nothing for what it does between them.
std::optional<FinishedRatio> as_told(const Course& course) {
    if (course.told_left < 0 || course.told_share <= 0 || course.iops <= 0) return std::nullopt;
    const double round = course.last ? course.last->round_seconds : course.round_seconds;
    const double rounds =
        std::min(course.told_left, course.rounds_seconds()) / course.round_seconds;
    const double left = course.told_left + rounds * (round - course.round_seconds);
    return FinishedRatio{course.op, course.told_at + left, 1e300, course.iops, {}};
}

}  // namespace

std::optional<double> time_left(const Course& course) {
    const auto told = as_told(course);
    const auto& known = course.last ? course.last : told;
    if (!known) return std::nullopt;
    const Prediction prediction(course, *known);
    // What the script tells follows from a beginning that is faster than the rest, so it counts as
    // much as is done.
    const double predicted = prediction.seconds_at(course.op);
    const double share = told ? course.told_share : 0;
    const double whole = told ? share * told->seconds + (1 - share) * predicted : predicted;
    double later = 0;
    for (const int op : course.later) later += prediction.seconds_at(op);
    return std::max(whole - course.elapsed, 0.0) + later * whole / predicted;
}

}  // namespace cli
