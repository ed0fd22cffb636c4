// The add-on's own logic: the steady-state rule, and the progress that the library reads.

#include <array>
#include <cmath>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "addon/progress.h"
#include "shared/steadiness.h"
#include "ssd_op.h"

namespace appliance::addon {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

bool is_steady(const std::array<double, 5>& rates) { return ssd_op::shared::is_steady(rates); }

TEST(SteadyState, ASpreadOfTwentyPercentIsTheMost) {
    EXPECT_TRUE(is_steady({100, 100, 100, 100, 100}));
    EXPECT_TRUE(is_steady({100, 110, 90, 110, 90}));
    EXPECT_FALSE(is_steady({100, 111, 90, 110, 90}));
}

TEST(SteadyState, ADriftOfTenPercentIsTheMostInEitherDirection) {
    EXPECT_TRUE(is_steady({190, 195, 200, 205, 210}));
    EXPECT_TRUE(is_steady({210, 205, 200, 195, 190}));
    EXPECT_FALSE(is_steady({189, 195, 200, 205, 210}));
    EXPECT_FALSE(is_steady({210, 205, 200, 195, 189}));
}

TEST(SteadyState, AJumpAtTheEndIsDrift) {
    // Within 20 % of the mean, but the line still climbs.
    EXPECT_FALSE(is_steady({1000, 1000, 1000, 1190, 1190}));
    // The same values in another order lie around a level line.
    EXPECT_TRUE(is_steady({1000, 1190, 1000, 1190, 1000}));
}

TEST(SteadyState, WhatIsNoRateIsNotSteady) {
    EXPECT_FALSE(is_steady({0, 0, 0, 0, 0}));
    EXPECT_FALSE(is_steady({-100, -100, -100, -100, -100}));
    EXPECT_FALSE(is_steady({100, 100, std::nan(""), 100, 100}));
    EXPECT_FALSE(is_steady({kInfinity, kInfinity, kInfinity, kInfinity, kInfinity}));
    const double huge = std::numeric_limits<double>::max();
    EXPECT_FALSE(is_steady({huge, huge, huge, huge, huge}));  // their sum is not finite
}

TEST(Progress, TheLibraryReadsTheStatusFile) {
    constexpr int kRecord = 41;
    for (const uint64_t seconds : {0, 59, 306, 3600, 93784}) {
        ASSERT_TRUE(publish(kRecord, "/dev/mapper/lv1568",
                            {.percent = 12.5,
                             .eta_seconds = seconds,
                             .written_kib = 5'000'000'000,
                             .iops = 20413.5},
                            {}));
        unsigned long long eta = 1;
        EXPECT_EQ(SSD_OP_Test_Get_Current_OP_ETA(kRecord, &eta), 0);
        EXPECT_EQ(eta, seconds) << eta_text(seconds);
    }
    float percent = 0;
    EXPECT_EQ(SSD_OP_Test_Get_Current_OP_Progress(kRecord, &percent), 0);
    EXPECT_FLOAT_EQ(percent, 12.5F);
    unsigned long long amount = 0;
    EXPECT_EQ(SSD_OP_Test_Get_Current_OP_Test_Amount(kRecord, &amount), 0);
    EXPECT_EQ(amount, 5'000'000'000ULL);
    long double value = 0;
    EXPECT_EQ(SSD_OP_Test_Get_Current_OP_Test_Value(kRecord, &value), 0);
    EXPECT_NEAR(static_cast<double>(value), 20413.5, 0.01);
    EXPECT_TRUE(publish_end(kRecord));
    EXPECT_NE(SSD_OP_Test_Get_Current_OP_Progress(kRecord, &percent), 0);
}

TEST(Progress, KeysThatAreLeftOutKeepTheirValue) {
    constexpr int kRecord = 42;
    ASSERT_TRUE(publish(kRecord, "/dev/mapper/lv1568", {},
                        {.percentage = -1, .total_step = 3, .start_time = 1'700'000'000}));
    ASSERT_TRUE(publish(kRecord, "/dev/mapper/lv1568", {}, {.running_step = 2, .detail = 1}));
    int percentage = 0;
    int step = 0;
    unsigned long long start = 0;
    EXPECT_EQ(SSD_OP_Test_Get_Current_OP_Percentage(kRecord, &percentage), 0);
    EXPECT_EQ(SSD_OP_Test_Get_Current_OP_Running_Step(kRecord, &step), 0);
    EXPECT_EQ(SSD_OP_Test_Get_Current_OP_Start_Time(kRecord, &start), 0);
    EXPECT_EQ(percentage, -1);
    EXPECT_EQ(step, 2);
    EXPECT_EQ(start, 1'700'000'000ULL);
}

}  // namespace
}  // namespace appliance::addon
