#include "start/speed.h"

#include <algorithm>

#include "output/text.h"

namespace cli {

namespace {

constexpr double kMb = 1e6;
constexpr double kBlock = 4096;
constexpr double kFactorySpare = 0.07;  // that most makers leave
constexpr double kBytesOfDie = 16e9;    // 128 Gbit
constexpr double kFewestDies = 4, kMostDies = 64;
constexpr double kProgramSeconds = 113e-6;  // of 4 KiB on one die

constexpr double kMostCorrection = 1000;  // beyond is a damaged record, not a drive

/// Bytes a second that one drive keeps up.
struct DriveSpeed {
    double sequential;
    double random;  // writes of 4 KiB in the steady state
};
struct Kind {
    DriveSpeed slowest;
    DriveSpeed fastest;
    double commands_second;  // on the interface
};
constexpr Kind kSata = {{100 * kMb, 10 * kMb}, {520 * kMb, 390 * kMb}, 95e3};
constexpr Kind kNvme = {{500 * kMb, 60 * kMb}, {3500 * kMb, 1200 * kMb}, 800e3};

const Kind& kind_of(const Plan& plan) {
    const bool fast = std::all_of(plan.drives.begin(), plan.drives.end(),
                                  [](const Drive& drive) { return drive.is_fast; });
    return fast ? kNvme : kSata;
}

VolumeSpeed speed_of(const Plan& plan, const DriveSpeed& drive) {
    const auto [writes, reads] = plan.layout.random_write_operations();
    const double random =
        drive.random * static_cast<double>(plan.layout.members) / (writes + reads);
    return {drive.sequential * static_cast<double>(plan.layout.data_members()),
            [random](int) { return random; }};
}

/// One drive of a plan, the slowest, in the state that rates are derived from.
struct UsualDrive {
    double programs_second;  // of 4 KiB
    double sequential;       // bytes a second
    double commands_second;
};

double smallest_capacity(const Plan& plan) {
    uint64_t smallest = UINT64_MAX;
    for (const Drive& drive : plan.drives) smallest = std::min(smallest, drive.capacity_bytes);
    return static_cast<double>(smallest);
}

UsualDrive drive_of_capacity(const Plan& plan) {
    const Kind& kind = kind_of(plan);
    const double dies = std::clamp(smallest_capacity(plan) / kBytesOfDie, kFewestDies, kMostDies);
    const double programs = dies / kProgramSeconds;
    return {programs, std::min(programs * kBlock, kind.fastest.sequential), kind.commands_second};
}

/// An empty drive copies nothing, so it programs as fast as it writes, unless its interface is what
/// limits it: then its flash is at least as fast as that.
UsualDrive drive_of(const Plan& plan, const std::optional<Figures>& figures) {
    UsualDrive drive = drive_of_capacity(plan);
    if (!figures) return drive;
    const bool limited = figures->write_iops > 0.85 * drive.commands_second;
    drive.programs_second =
        limited ? std::max(drive.programs_second, figures->write_iops) : figures->write_iops;
    drive.sequential = figures->write_bytes_second;
    return drive;
}

double random_speed(const UsualDrive& drive, const Layout& layout, double write_amplification) {
    const auto [writes, reads] = layout.random_write_operations();
    const double seconds = std::max(write_cost(layout, write_amplification) / drive.programs_second,
                                    (writes + reads) / drive.commands_second);
    return kBlock * static_cast<double>(layout.members) / seconds;
}

DriveUse use_of_drives(const Plan& plan) {
    const auto data = static_cast<double>(plan.layout.data_members());
    return {smallest_capacity(plan) * (1 + kFactorySpare),
            static_cast<double>(usable_bytes(plan)) / data,
            static_cast<double>(plan.param.test_size * kMib) / data};
}

/// What was measured, by what would have been expected at each ratio of a precedent.
class Correction {
  public:
    Correction(const UsualDrive& drive, const Precedent& precedent, double flash) {
        DriveUse use = precedent.use;
        use.flash = flash;
        for (const auto& [op, iops] : precedent.rates) {
            const double expected =
                random_speed(drive, precedent.layout, write_amplification_at(use, op));
            factors_.push_back(
                {op, std::clamp(iops * kBlock / expected, 1 / kMostCorrection, kMostCorrection)});
        }
    }

    /// On a straight line between two ratios, and beyond the last one as there.
    double at(int op) const {
        const auto above = std::find_if(factors_.begin(), factors_.end(),
                                        [op](const Factor& factor) { return factor.op >= op; });
        if (above == factors_.end()) return factors_.back().value;
        if (above == factors_.begin()) return above->value;
        const auto below = above - 1;
        const double part = static_cast<double>(op - below->op) / (above->op - below->op);
        return below->value + part * (above->value - below->value);
    }

  private:
    struct Factor {
        int op;
        double value;
    };
    std::vector<Factor> factors_;
};

}  // namespace

VolumeSpeed fastest_speed(const Plan& plan) { return speed_of(plan, kind_of(plan).fastest); }
VolumeSpeed slowest_speed(const Plan& plan) { return speed_of(plan, kind_of(plan).slowest); }

VolumeSpeed usual_speed(const Plan& plan, const Knowledge& knowledge) {
    const UsualDrive drive = drive_of(plan, knowledge.figures);
    const DriveUse use = use_of_drives(plan);
    VolumeSpeed speed{drive.sequential * static_cast<double>(plan.layout.data_members()),
                      [drive, use, layout = plan.layout](int op) {
                          return random_speed(drive, layout, write_amplification_at(use, op));
                      }};
    if (!knowledge.precedent) return speed;
    const Correction correction(drive, *knowledge.precedent, use.flash);
    speed.random = [correction, expected = speed.random](int op) {
        return correction.at(op) * expected(op);
    };
    return speed;
}

}  // namespace cli
