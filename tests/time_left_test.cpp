// The time left of a running evaluation, over recorded ones.

#include "model/time_left.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "model/step_rows.h"

namespace {

using namespace cli;

constexpr double kMib = 1 << 20;
constexpr size_t kSlices = 20;
constexpr double kSliceShare = 0.8 / kSlices;

/// A ratio's results, and when its slices and rounds ended, in seconds since its start.
struct Ratio {
    int op;
    double write_amplification;
    double iops;
    double written_kib;
    std::vector<double> ends;

    double seconds() const { return ends.back(); }
};

/// A whole evaluation in a simulated appliance.
struct Trace {
    Layout layout;
    double volume_mib;
    double tested_mib;
    std::vector<Ratio> ratios;
};

const Trace kTraces[] = {
    // Everything of a RAID 5, at 500 times the speed of the wall.
    {{5, 4},
     181'576,
     181'576,
     {
         {0, 7.69, 7353.8, 380665436, {450,   1112,  1779,  2447,  3114,  3782,  4449,
                                       5116,  5783,  6452,  7121,  7791,  8460,  9130,
                                       9798,  10468, 11137, 11808, 12474, 13144, 13242,
                                       13336, 13435, 13532, 13626}},
         {10, 3.31, 15775.2, 353592667, {383,  683,  988,  1294, 1594, 1896, 2197, 2499, 2801,
                                         3102, 3405, 3707, 4009, 4311, 4614, 4916, 5219, 5520,
                                         5822, 6124, 6219, 6313, 6407, 6501, 6595}},
         {20, 2.18, 22441.6, 324414868, {255,  466,  668,  865,  1069, 1274, 1477, 1679, 1882,
                                         2084, 2285, 2488, 2689, 2890, 3090, 3291, 3493, 3695,
                                         3898, 4098, 4194, 4291, 4387, 4492, 4588}},
         {30, 1.65, 28026.2, 293925812, {200,  359,  516,  671,  821,  972,  1125, 1277, 1431,
                                         1582, 1735, 1886, 2039, 2193, 2346, 2499, 2653, 2806,
                                         2959, 3111, 3210, 3305, 3401, 3497, 3592}},
         {40, 1.37, 32645.6, 262286439, {168,  294,  420,  546,  669,  791,  911,  1032, 1154,
                                         1281, 1403, 1524, 1645, 1766, 1889, 2011, 2132, 2255,
                                         2376, 2497, 2593, 2689, 2788, 2886, 2984}},
     }},
    // A part of a RAID 10, at 300 times, on a machine so busy that starting programs takes most.
    {{10, 4},
     121'048,
     20'000,
     {
         {0, 1.9, 32045.4, 79412284, {111,  245,  412,  547,  674,  809,  963,  1108, 1286,
                                      1495, 1741, 1902, 2073, 2196, 2335, 2515, 2740, 2898,
                                      3040, 3171, 3316, 3495, 3676, 3852, 4012}},
         {15, 1.15, 56968.8, 109319814, {244,  423,  549,  716,  918,  1089, 1235, 1374, 1542,
                                         1650, 1811, 1958, 2094, 2184, 2309, 2415, 2589, 2754,
                                         2894, 3038, 3202, 3451, 3772, 3951, 4135}},
         {30, 1.04, 65098.6, 119075587, {213,  362,  571,  792,  976,  1115, 1247, 1430, 1588,
                                         1724, 1908, 2060, 2339, 2471, 2619, 2757, 2894, 3144,
                                         3301, 3493, 3637, 3851, 4037, 4267, 4445}},
     }},
};

FinishedRatio finished(const Ratio& ratio) {
    const double rounds = ratio.seconds() - ratio.ends[kSlices - 1];
    return {ratio.op,   ratio.seconds(),           ratio.written_kib * 1024,
            ratio.iops, ratio.write_amplification, rounds / kRounds};
}

/// What the script has told at a moment of a ratio.
void tell(Course& course, const Ratio& ratio) {
    const auto done =
        static_cast<size_t>(std::upper_bound(ratio.ends.begin(), ratio.ends.end(), course.elapsed) -
                            ratio.ends.begin());
    if (done == 0) return;
    const double slices = static_cast<double>(std::min(done, kSlices));
    const double rounds = static_cast<double>(done) - slices;
    course.iops = ratio.iops;
    course.told_at = ratio.ends[done - 1];
    course.told_share = kSliceShare * slices + rounds / 25;
    course.told_left = course.told_at * (kSlices - slices) / slices + (kRounds - rounds) * 60;
    if (slices < kSlices) return;
    course.told_left = (kRounds - rounds) * 60;
}

Course course_at(const Trace& trace, size_t ratio, double elapsed) {
    const double data = static_cast<double>(trace.layout.data_members());
    Course course{};
    course.layout = trace.layout;
    course.volume = trace.volume_mib * kMib;
    course.use = {64e9 * 1.07, course.volume / data, trace.tested_mib * kMib / data};
    if (ratio > 0) course.last = finished(trace.ratios[ratio - 1]);
    for (size_t i = ratio + 1; i < trace.ratios.size(); ++i)
        course.later.push_back(trace.ratios[i].op);
    course.op = trace.ratios[ratio].op;
    course.elapsed = elapsed;
    tell(course, trace.ratios[ratio]);
    return course;
}

TEST(TimeLeft, IsWithinAFifthOfTheTruthFromTheSecondRatioOn) {
    for (const Trace& trace : kTraces) {
        double left = 0;
        for (size_t i = trace.ratios.size() - 1; i > 0; --i) {
            const double whole = trace.ratios[i].seconds();
            left += whole;
            for (double elapsed = 0; elapsed < whole; elapsed += 20) {
                const double truth = left - elapsed;
                const auto told = time_left(course_at(trace, i, elapsed));
                ASSERT_TRUE(told);
                // The last round or two are told as a whole.
                EXPECT_NEAR(*told, truth, std::max(truth / 5, 60.0))
                    << "OP " << trace.ratios[i].op << ", " << elapsed << " s after its start";
            }
        }
    }
}

TEST(StepRows, AreThoseWithMoreWritten) {
    std::array<ssd_op_db_runtime_report, 6> rows{};
    ssd_op_db_record record{};
    record.runtime_report = rows.data();
    for (size_t i = 0; i + 1 < rows.size(); ++i) rows[i].next = &rows[i + 1];
    EXPECT_EQ(step_rows(record).size(), rows.size());  // nothing tells how much was written
    for (const auto& [row, written] :
         {std::pair(0, 10), {1, 20}, {2, 20}, {3, 20}, {4, 30}, {5, 30}})
        rows[row].write_amount = written;
    EXPECT_EQ(step_rows(record),
              (std::vector<const ssd_op_db_runtime_report*>{&rows[0], &rows[1], &rows[4]}));
}

TEST(TimeLeft, IsToldInTheFirstRatioOnceTheScriptHasToldSomething) {
    const Trace& trace = kTraces[0];
    EXPECT_FALSE(time_left(course_at(trace, 0, 100)));
    EXPECT_GT(time_left(course_at(trace, 0, 6000)).value(), 13'626 - 6000 + 10'000);
}

TEST(TimeLeft, ExpectsRatiosToBeGivenUpAsTheOneBefore) {
    Course course = course_at(kTraces[0], 1, 0);
    course.last->seconds = 600;
    course.last->written = 1e10;
    EXPECT_DOUBLE_EQ(time_left(course).value(), 4 * 600);
    course.sequential = true;
    course.last = FinishedRatio{0, 1300, 2 * course.volume, course.volume / 450 / kMib, {}};
    EXPECT_NEAR(time_left(course).value(), 4 * 400 + 900 * (0.9 + 0.8 + 0.7 + 0.6), 1);
    course.last->seconds = 750;  // half of that, and the rounds
    EXPECT_NEAR(time_left(course).value(), 4 * 300 + 450 * (0.9 + 0.8 + 0.7 + 0.6), 1);
}

}  // namespace
