// How long an evaluation takes, as it is told before it starts.

#include "start/estimate.h"

#include <algorithm>
#include <memory>

#include <gmock/gmock.h>

#include "flash/workload.h"

namespace {

using namespace cli;
namespace flash = appliance::flash;

struct Request {
    int level;
    unsigned members;
    unsigned gigabytes;
    int min_op, max_op, interval;
    uint64_t test_mib = 0;
    double factory_spare = 7;
    int type = SSD_OP_TEST_TYPE_RANDOM;
};

Plan plan_of(const Request& request) {
    Plan plan{};
    plan.layout = {request.level, request.members};
    Drive drive{};
    drive.capacity_bytes = request.gigabytes * 1'000'000'000ULL;
    drive.data_bytes = drive.capacity_bytes - (514 << 20);  // two partitions of the appliance's
    plan.drives.assign(request.members, drive);
    for (int op = request.min_op; op <= request.max_op; op += request.interval)
        plan.ratios.push_back(op);
    plan.param.test_type = request.type;
    plan.param.test_size = request.test_mib;
    return plan;
}

struct Truth {
    double seconds;
    std::vector<Rate> rates;
};

/// The add-on's steps on simulated drives, whose time does not depend on this machine's.
class Evaluation {
  public:
    explicit Evaluation(const Request& request) : request_(request) {
        group_.level = static_cast<flash::Level>(request.level);
        const Plan plan = plan_of(request);
        for (unsigned i = 0; i < request.members; ++i) {
            drives_.push_back(std::make_unique<flash::Drive>(
                flash::Geometry{plan.drives[i].capacity_bytes, request.factory_spare, i + 1}));
            group_.members.push_back(
                {drives_.back().get(), {513 << 20, plan.drives[i].data_bytes}});
        }
    }

    Truth run() {
        const flash::Volume volume({group_});
        const double measuring = 2 * (15 + 50);  // reads and writes of a drive
        Truth truth{measuring * request_.members, {}};
        truth.seconds += write(volume, flash::Pattern::sequential, volume.capacity(), 1).seconds;
        for (const int op : plan_of(request_).ratios) {
            const uint64_t size = volume.capacity() / 100 * static_cast<unsigned>(100 - op);
            volume.discard({size, volume.capacity() - size});
            const uint64_t tested = request_.test_mib << 20;
            measure(volume, op, tested > 0 ? std::min(tested, size) : size, truth);
        }
        return truth;
    }

  private:
    void measure(const flash::Volume& volume, int op, uint64_t area, Truth& truth) {
        for (const auto& [type, pattern] :
             {std::pair(SSD_OP_TEST_TYPE_SEQUENTIAL, flash::Pattern::sequential),
              std::pair(SSD_OP_TEST_TYPE_RANDOM, flash::Pattern::random)}) {
            if (request_.type != SSD_OP_TEST_TYPE_ALL && request_.type != type) continue;
            const flash::Progress filling = write(volume, pattern, area, 2);
            flash::Run rounds(volume, workload(pattern, area));
            const double iops = rounds.for_seconds(300).iops();
            truth.seconds += filling.seconds + 300;
            if (pattern == flash::Pattern::random) truth.rates.push_back({op, iops});
        }
    }
    static flash::Workload workload(flash::Pattern pattern, uint64_t area) {
        flash::Workload load;
        load.pattern = pattern;
        load.direction = flash::Direction::write;
        load.block_bytes = pattern == flash::Pattern::random ? 4096 : 1 << 20;
        load.queue_depth = 32;
        load.range = {0, area};
        return load;
    }
    static flash::Progress write(const flash::Volume& volume, flash::Pattern pattern, uint64_t area,
                                 unsigned passes) {
        return flash::Run(volume, workload(pattern, area)).for_bytes(passes * area);
    }

    Request request_;
    flash::Group group_;
    std::vector<std::unique_ptr<flash::Drive>> drives_;
};

void expect_within(const TimeRange& range, double truth, const Request& request) {
    EXPECT_TRUE(range.shortest <= truth && truth <= range.longest)
        << "RAID " << request.level << " over " << request.members << " of " << request.gigabytes
        << " GB takes " << truth << " s, told were " << range.shortest << " to " << range.longest;
    EXPECT_LE(range.longest, 2 * range.shortest);
}

TEST(Estimate, HoldsForDrivesOfWhichNothingIsKnown) {
    for (const Request& request :
         std::vector<Request>{{5, 4, 64, 0, 40, 20},
                              {1, 2, 64, 0, 20, 20},
                              {0, 2, 256, 0, 30, 30},
                              {10, 4, 128, 0, 30, 30, 20'000},
                              {5, 3, 128, 7, 28, 21},
                              {6, 5, 64, 10, 30, 20},
                              {1, 1, 512, 0, 40, 40, 100'000},
                              {1, 1, 64, 0, 20, 20, 0, 7, SSD_OP_TEST_TYPE_ALL},
                              {5, 3, 256, 0, 20, 20, 0, 7, SSD_OP_TEST_TYPE_SEQUENTIAL}}) {
        const TimeEstimate estimate = estimate_time(plan_of(request), {});
        const double truth = Evaluation(request).run().seconds;
        expect_within(estimate.range, truth, request);
        ASSERT_TRUE(estimate.possible) << "nothing is known";
        EXPECT_LT(estimate.possible->shortest, truth);
        EXPECT_GT(estimate.possible->longest, truth);
    }
    // The run of the README, at a clock so fast that starting programs takes a part of the time.
    const Request readme{5, 4, 64, 0, 40, 10};
    expect_within(estimate_time(plan_of(readme), {}).range, 32'958, readme);
}

TEST(Estimate, UsesWhatWasMeasuredOnEmptyDrives) {
    struct {
        Request request;
        Figures figures;
    } const cases[] = {{{5, 4, 64, 0, 20, 20}, {140e6, 35'000}},
                       {{0, 2, 256, 0, 20, 20}, {550e6, 95'000}}};  // as fast as SATA is
    for (const auto& [request, figures] : cases) {
        const TimeEstimate estimate = estimate_time(plan_of(request), {{}, figures});
        expect_within(estimate.range, Evaluation(request).run().seconds, request);
        EXPECT_TRUE(estimate.from_figures && !estimate.possible);
    }
    const Request request{5, 4, 64, 0, 20, 20};
    const auto longest = [&](double iops) {
        return estimate_time(plan_of(request), {{}, Figures{140e6, iops}}).range.longest;
    };
    EXPECT_GT(longest(5'000), 5 * longest(35'000)) << "whatever drives of this capacity do";
}

TEST(Estimate, FollowsAnEvaluationOfTheSameModelInAnotherLayout) {
    const Request before{5, 3, 64, 0, 30, 30, 0, 28};
    const Truth known = Evaluation(before).run();
    const Plan plan = plan_of(before);
    const double mapped = static_cast<double>(usable_bytes(plan)) / 2;
    const Knowledge knowledge{Precedent{7, plan.layout, {0, mapped, 0}, known.rates}, {}};
    for (const Request& request : std::vector<Request>{{5, 3, 64, 0, 30, 30, 0, 28},
                                                       {1, 2, 64, 5, 35, 30, 0, 28},
                                                       {0, 3, 64, 0, 40, 40, 30'000, 28}}) {
        const TimeEstimate estimate = estimate_time(plan_of(request), knowledge);
        expect_within(estimate.range, Evaluation(request).run().seconds, request);
        EXPECT_EQ(estimate.record_no, 7);
    }
}

}  // namespace
