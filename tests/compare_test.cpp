// Records side by side: where their curves meet, and the command.

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "model/crossing.h"
#include "support/appliance.h"
#include "support/files.h"
#include "support/records.h"

namespace {

using namespace cli;
using nlohmann::json;
using testing::HasSubstr;

using Rates = std::vector<Rate>;

TEST(Curves, MeetWhereStraightLinesBetweenMeasuredRatiosDo) {
    const Rates rising = {{0, 100}, {10, 200}, {30, 400}};
    struct {
        const char* what;
        Rates second;
        std::vector<Meeting> meetings;
    } const cases[] = {
        {"apart", {{0, 50}, {30, 399}}, {}},
        {"identical", rising, {{0, 30, 0, 30, 0, 0}}},
        {"on the line", {{0, 100}, {20, 300}, {30, 400}}, {{0, 30, 0, 30, 0, 0}}},
        {"a crossing", {{0, 200}, {30, 200}}, {{10, 10, 10, 10, 2, 1}}},
        {"between", {{0, 150}, {30, 150}}, {{5, 5, 0, 10, 2, 1}}},
        {"between ratios of either",
         {{0, 120}, {20, 260}, {40, 560}},
         {{20 / 3.0, 20 / 3.0, 0, 10, 2, 1}, {28, 28, 20, 30, 1, 2}}},
        {"a touch", {{0, 90}, {10, 200}, {30, 350}}, {{10, 10, 10, 10, 1, 1}}},
        {"the same for a while",
         {{0, 120}, {10, 200}, {20, 300}, {30, 350}},
         {{10, 20, 10, 20, 2, 1}}},
        {"at the ends",
         {{0, 100}, {10, 150}, {30, 400}},
         {{0, 0, 0, 0, 0, 1}, {30, 30, 30, 30, 1, 0}}},
        {"one ratio in common", {{30, 500}, {40, 1}}, {}},
    };
    for (const auto& [what, second, meetings] : cases) {
        const auto pair = pair_of(rising, second);
        ASSERT_TRUE(pair) << what;
        ASSERT_EQ(pair->meetings.size(), meetings.size()) << what;
        for (size_t i = 0; i < meetings.size(); ++i) {
            const Meeting &found = pair->meetings[i], &wanted = meetings[i];
            EXPECT_NEAR(found.from, wanted.from, 1e-9) << what;
            EXPECT_NEAR(found.to, wanted.to, 1e-9) << what;
            EXPECT_EQ(found.below, wanted.below) << what;
            EXPECT_EQ(found.above, wanted.above) << what;
            EXPECT_EQ(found.faster_before, wanted.faster_before) << what;
            EXPECT_EQ(found.faster_after, wanted.faster_after) << what;
        }
    }
    EXPECT_FALSE(pair_of(rising, {{31, 100}, {40, 200}})) << "no ratio in common";
    EXPECT_DOUBLE_EQ(pair_of(rising, {{0, 50}, {30, 100}})->least, -0.75);
}

class Comparing : public support::ApplianceTest {
  protected:
    static support::Outcome run(const std::string& arguments) {
        return support::shell("/opt/appliance/bin/ssd-op compare " + arguments);
    }

    int record_of_rates(const std::string& title, const Rates& rates) {
        const int record = support::store_record(title, appliance().drives());
        for (const auto& [op, iops] : rates)
            EXPECT_EQ(SSD_OP_DB_Update_Test_Result(record, op, 0, iops), 0);
        return record;
    }
};

TEST_F(Comparing, ShowsRecordsSideBySide) {
    record_of_rates("a\x1b", {{10, 1000}, {20, 2000}, {40, 4000}});
    record_of_rates("b", {{10, 3000}, {30, 3000}});
    record_of_rates("c", {{10, 2000}, {20, 4000}, {40, 8000}});
    support::write_file("/root/rounds",
                        "1, 9, 0, 0, 1\n2, 9, 0, 0, 1\n3, 9, 0, 0, 1\n"
                        "4, 9, 0, 0, 1\n5, 9, 0, 0, 1\n");
    ASSERT_EQ(SSD_OP_DB_Update_Runtime_Report(2, 30, "/root/rounds", 0), 0);
    const auto told = run("1 2 3");
    EXPECT_EQ(told.status, 0) << told.output;
    for (const char* text :
         {"RAID 5 over 4 drives", "4 x NS510-64 NS1.04, 64.0 GB", "random  a\\x1b\n",
          "\n20 %      2000                4000\n", "\n30 %                3000\n", "+300.0 %",
          "\n30 %            steady\n", "1 and 2: meet at OP 30 % (2 is faster below)",
          "1 and 3: 3 is faster from OP 10 to 40 %, by 100.0 %",
          "2 and 3: cross between OP 10 and 20 %, at about 15.0 % (2 is faster below, 3 is"})
        EXPECT_THAT(told.output, HasSubstr(text)) << told.output;
    const json found = json::parse(run("2 1 --json").output, nullptr, false);
    EXPECT_EQ(found["records"][0]["results"][1]["steady"], true);
    EXPECT_EQ(found["records"][0]["groups"][0]["drives"][3]["firmware"], "NS1.04");
    EXPECT_EQ(found["pairs"][0]["meetings"][0]["faster_below"], 2) << found;
}

TEST_F(Comparing, RefusesWhatCannotBeCompared) {
    record_of_rates("a", {{10, 1000}, {20, 2000}});
    record_of_rates("b", {{10, 1000}});
    record_of_rates("c", {});
    struct {
        const char* arguments;
        int status;
        const char* says;
    } const cases[] = {{"1", 2, "one is named"},
                       {"1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17", 2, "17 are named"},
                       {"1 x", 2, "RECORD"},
                       {"1 2 1", 3, "Record 1 is named twice."},
                       {"1 3", 3, "No ratio of record 3 has a rate"},
                       {"1 9", 4, "There is no record 9."}};
    for (const auto& [arguments, status, says] : cases) {
        const auto refused = run(arguments);
        EXPECT_EQ(refused.status, status) << arguments;
        EXPECT_THAT(refused.output, HasSubstr(says));
    }
    EXPECT_THAT(run("1 2").output, HasSubstr("1 and 2: the same at OP 10 %"));
    ASSERT_EQ(SSD_OP_DB_Update_Test_Result(2, 0, 0, 1), 0);
    ASSERT_EQ(SSD_OP_DB_Update_Test_Result(2, 20, 0, 1), 0);
    EXPECT_THAT(run("2 1").output, HasSubstr("2 and 1: meet at OP 10 % (1 is faster above)"));
    ASSERT_EQ(SSD_OP_DB_Update_Test_Result(1, 0, 0, 2), 0);
    EXPECT_THAT(run("2 1").output,
                HasSubstr("touch at OP 10 % (1 is faster below, 1 is faster above)"));
    appliance().run_sql("UPDATE TEST_RECORD SET sequential = 1 WHERE record_no = 2");
    EXPECT_THAT(run("1 2").output, HasSubstr("not compared: one was measured by sequential"));
}

}  // namespace
