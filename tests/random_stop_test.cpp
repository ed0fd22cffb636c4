// Stops at moments that nobody chose. RANDOM_STOPS says how many (50), RANDOM_SEED which (1).

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>

#include <time.h>
#include <unistd.h>

#include "support/stop.h"

namespace {

using namespace support;

int setting(const char* name, int otherwise) {
    const char* text = std::getenv(name);
    return text != nullptr ? std::atoi(text) : otherwise;
}

class RandomStop : public ApplianceTest {
  protected:
    RandomStop() {
        appliance().with([](appliance::Blueprint& blueprint) { blueprint.drive.size_gb = 8; });
    }

    bool chance() { return number(0, 1) == 1; }
    int number(int from, int to) { return std::uniform_int_distribution(from, to)(random_); }

    /// Seconds that an evaluation takes when it is left alone.
    int length_of_a_run() {
        const time_t begin = ::time(nullptr);
        Groups groups(1, {0, 1});
        ssd_op_test_param param = parameters(true);
        EXPECT_GT(NAS_SSD_OP_Test_Start(nullptr, 0, groups.list(), &param), 0);
        return static_cast<int>(::time(nullptr) - begin);
    }

    /// Every third time about when the storage is made, and every third when results are saved and
    /// storage is removed: both take little of a run.
    void wait_for_moment(int attempt, int length, const RunningEvaluation& evaluation) {
        if (attempt % 3 == 2) {
            eventually([&] { return evaluation.status() >= SSD_OP_TEST_STATUS_FINISHING; },
                       10 * length);
            ::sleep(static_cast<unsigned>(number(0, 60)));
        } else {
            ::sleep(static_cast<unsigned>(number(0, attempt % 3 == 0 ? 300 : length)));
        }
    }

    static ssd_op_test_param parameters(bool stop_service) {
        ssd_op_test_param param = request(0, 10, 10);
        param.test_size = 1000;
        param.stop_service = stop_service ? 1 : 0;
        return param;
    }

    std::mt19937 random_{static_cast<unsigned>(setting("RANDOM_SEED", 1))};
};

TEST_F(RandomStop, LeavesNothingBehindWheneverItComes) {
    const int stops = setting("RANDOM_STOPS", 50);
    const int length = length_of_a_run();
    int survived = 0;
    int too_late = 0;
    std::map<int, int> by_status;
    double longest = 0;
    while (survived < stops && !HasFailure()) {
        appliance().renew();
        Groups groups = chance() ? Groups(1, {0, 1}) : Groups(5, {0, 1, 2});
        const StopArguments arguments{.remove_storage = number(0, 1), .type = number(1, 2)};
        SCOPED_TRACE("stop " + std::to_string(survived) + ", storage removal " +
                     std::to_string(arguments.remove_storage));
        RunningEvaluation evaluation(groups, parameters(chance()));
        ASSERT_TRUE(eventually([&] { return evaluation.status() > 0; }));
        wait_for_moment(survived + too_late, length, evaluation);
        const int old_status = evaluation.status();
        const int old_progress = evaluation.step_progress();
        const Stopped stopped = stop(evaluation, arguments);
        if (evaluation.status() == SSD_OP_TEST_STATUS_COMPLETED) {
            ++too_late;
            continue;
        }
        expect_stopped(appliance(), evaluation.record_no(),
                       arguments.type == SSD_OP_STOP_BY_USER ? SSD_OP_TEST_STATUS_STOPPED
                                                             : SSD_OP_TEST_STATUS_FAILED);
        // At this rate of the clock, what programs need to start is nearly all of it.
        EXPECT_LT(stopped.seconds_to_quiet, 10'000)
            << "status " << old_status << ", progress " << old_progress;
        expect_drives_are_free(appliance(), groups);
        longest = std::max(longest, stopped.seconds_to_quiet);
        ++by_status[old_status];
        ++survived;
    }
    const auto some = [&](int status) { return stops < 30 || by_status[status] > 0; };
    EXPECT_TRUE(some(SSD_OP_TEST_STATUS_INITIATING) && some(SSD_OP_TEST_STATUS_TESTING) &&
                some(SSD_OP_TEST_STATUS_FINISHING));
    std::printf(
        "%d stops survived (%d initiating, %d testing, %d finishing), %d came too late; "
        "longest time from stop to quiet: %.1f s of the appliance's time\n",
        survived, by_status[SSD_OP_TEST_STATUS_INITIATING], by_status[SSD_OP_TEST_STATUS_TESTING],
        by_status[SSD_OP_TEST_STATUS_FINISHING], too_late, longest);
}

}  // namespace
