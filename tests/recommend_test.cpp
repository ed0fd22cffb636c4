// How much OP a record's drives need: the computation, and the command.

#include <fstream>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "flash/closed_form.h"
#include "model/recommendation.h"
#include "model/steadiness.h"
#include "support/appliance.h"
#include "support/records.h"

namespace {

using namespace cli;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

/// Rates at ratios from 0 on, in steps of 10.
std::vector<Rate> curve(const std::vector<double>& iops) {
    std::vector<Rate> rates;
    for (const double rate : iops) rates.push_back({10 * static_cast<int>(rates.size()), rate});
    return rates;
}

/// What four simulated drives in a RAID 5 do.
const std::vector<double> kSimulated = {7354, 15775, 22442, 28026, 32646};

TEST(Fit, PredictsWhatWasNotMeasured) {
    const auto few = fit_curve({{0, 7354}, {20, 22442}, {40, 32646}});
    ASSERT_TRUE(few);
    EXPECT_NEAR(few->iops_at(10), 15775, 0.05 * 15775);
    EXPECT_NEAR(few->iops_at(30), 28026, 0.05 * 28026);
    EXPECT_FALSE(few->checked) << "three unknowns";
    const auto all = fit_curve(curve(kSimulated));
    EXPECT_TRUE(all && all->checked && all->is_close());
    EXPECT_EQ(fitted_rates(*all, {{7, 1}, {14, 1}, {15, 1}}).size(), 4U) << "and 10 %";
}

TEST(Fit, FindsTheFactorySpareOfDrivesThatObeyTheTheory) {
    for (const double spare : {0.02, 0.07, 0.28, 0.5}) {
        std::vector<Rate> rates;
        for (const int op : {0, 7, 14, 28}) {
            const double a = (1 + spare) / (1 - op / 100.0);
            const double copies = appliance::flash::expected_write_amplification(a) - 1;
            rates.push_back({op, 1 / (2e-5 + 3e-5 * copies)});
        }
        const auto fit = fit_curve(rates);
        ASSERT_TRUE(fit);
        EXPECT_NEAR(fit->factory_spare, spare, 1e-4);
        EXPECT_NEAR(fit->copy, 3e-5, 1e-7);
        EXPECT_LT(fit->largest_residual, 1e-4);
    }
}

TEST(Fit, RefusesCurvesThatTheTheoryDoesNotExplain) {
    EXPECT_FALSE(fit_curve(curve({7354, 15775})));
    for (const auto& iops : std::vector<std::vector<double>>{
             {7354, 15775, 20000, 20000, 20000}, {1000, 1000, 5000, 5000}, {5000, 4000, 3000}}) {
        const auto fit = fit_curve(curve(iops));
        EXPECT_TRUE(fit && !fit->is_close()) << fit->largest_residual;
        EXPECT_TRUE(fit->base >= 0 && fit->copy >= 0) << fit->base << ' ' << fit->copy;
    }
    EXPECT_TRUE(fit_curve(curve({1000, 1010, 995, 1000}))->is_close()) << "flat is explained";
}

TEST(Knee, StandsWhereACurveBendsAndNowhereElse) {
    struct {
        std::vector<double> iops;
        Shape shape;
        int op = 0;
    } const cases[] = {
        {kSimulated, Shape::kKnee, 20},
        {{1000, 2000, 2000, 2000, 2000}, Shape::kKnee, 10},
        {{1000, 1500, 2010, 1990, 2005}, Shape::kKnee, 20},
        {{1000, 3000, 2900, 2800, 900}, Shape::kKnee, 10},  // falls below where it began
        {{1000, 950, 3000, 3050, 3020, 3100}, Shape::kKnee, 20},
        {{1000, 2000, 3000, 4000}, Shape::kStraight},
        {{1000, 2050, 2950, 4000}, Shape::kStraight},
        {{1000, 1100, 1500, 4000}, Shape::kStraight},  // bends the other way
        {{1000, 1030, 990, 1010}, Shape::kFlat},
        {{3000, 2000, 1000}, Shape::kFlat},
        {{1000, 9000}, Shape::kTooFewRatios},
    };
    for (const auto& [iops, shape, op] : cases) {
        const Knee knee = knee_of(curve(iops));
        EXPECT_EQ(knee.shape, shape) << testing::PrintToString(iops);
        EXPECT_EQ(knee.op, op) << testing::PrintToString(iops);
    }
    const Knee knee = knee_of(curve({1000, 2000, 2200}));
    EXPECT_DOUBLE_EQ(knee.gain_before, 100);
    EXPECT_DOUBLE_EQ(knee.gain_beyond, 20);
}

TEST(Recommendation, IsTheSmallestMeasuredRatioThatFulfilsTheWish) {
    struct {
        std::vector<double> iops;
        Wish wish;
        std::optional<int> op, contradiction, fitted;
    } const cases[] = {
        {kSimulated, {20000, {}}, 20, {}, 17},
        {kSimulated, {22442, {}}, 20, {}, {}},
        {kSimulated, {{}, 100}, 10, {}, 9},
        {kSimulated, {28000, 100}, 30, {}, {}},
        {kSimulated, {7000, {}}, 0, {}, {}},
        {kSimulated, {50000, {}}, {}, {}, {}},
        {kSimulated, {}, 20, {}, {}},
        {{7354, 15775, 20000, 20000, 20000}, {16000, {}}, 20, {}, {}},  // no fit
        {{1000, 2000, 1400, 2100}, {1500, {}}, 10, 20, {}},
        {{1000, 1010, 990}, {}, 0, {}, {}},
        {{1000, 2000, 3000}, {}, {}, {}, {}},
        {{1000}, {}, {}, {}, {}},
        {{1000}, {800, {}}, 0, {}, {}},
    };
    for (const auto& [iops, wish, op, contradiction, fitted] : cases) {
        const Recommendation found = recommend(curve(iops), wish, true);
        const auto chosen = found.chosen ? std::optional(found.chosen->op) : std::nullopt;
        EXPECT_EQ(chosen, op) << testing::PrintToString(iops);
        EXPECT_EQ(found.contradiction, contradiction);
        EXPECT_EQ(found.fitted_op, fitted) << testing::PrintToString(iops);
    }
    EXPECT_FALSE(recommend(curve(kSimulated), {20000, {}}, false).fit) << "of sequential writes";
}

TEST(Steadiness, IsThatOfTheLastFiveRounds) {
    const std::vector<std::vector<double>> windows = {
        {100, 100, 100, 100, 100},   {90, 110, 100, 90, 110},
        {90, 111, 100, 90, 110},     {96, 97, 100, 103, 104},
        {95, 97.5, 100, 102.5, 105}, {94, 97, 100, 103, 106},
        {106, 103, 100, 97, 94},     {0, 0, 0, 0, 0},
        {1, 900, 3, 20, 7}};
    for (auto rates : windows) {
        const bool steady = ssd_op::shared::is_steady(std::span<const double, 5>(rates.data(), 5));
        rates.insert(rates.begin(), 5000);  // a round before the last five
        const auto found = steadiness_of(rates);
        EXPECT_EQ(found && found->is_steady(), steady) << testing::PrintToString(rates);
    }
    EXPECT_FALSE(steadiness_of({1, 1, 1, 1}));
    EXPECT_NEAR(steadiness_of({104, 102, 100, 98, 96})->slope, -0.08, 1e-12);
}

class Recommending : public support::ApplianceTest {
  protected:
    static support::Outcome run(const std::string& arguments) {
        return support::shell("/opt/appliance/bin/ssd-op recommend " + arguments);
    }

    /// The record's minutes at a ratio: fast ones first, then five that vary by 2 %.
    static void measure(int record, int op, double amplification, int iops, int celsius) {
        ASSERT_EQ(SSD_OP_DB_Update_Test_Result(record, op, amplification, iops), 0);
        std::ofstream rounds("/root/rounds"), heat("/root/heat");
        const unsigned drive = support::read_record(record)->raid_conf->ssd_drives[0].dev_id;
        for (int i = 0; i < 8; ++i) {
            const int rate = i < 3 ? 5 * iops : iops + iops * (i % 2) / 50;
            rounds << i * 60'000 << ", " << rate << ", 0, 0, " << i << '\n';
            heat << i * 60'000 << ", " << drive << ", "
                 << SSD_OP_DB_Query_SSD_Select_No(record, 800, static_cast<int>(drive)) << ", "
                 << (i == 4 ? celsius : 40) << '\n';
        }
        rounds.close();
        heat.close();
        ASSERT_EQ(SSD_OP_DB_Update_Runtime_Report(record, op, "/root/rounds", 0), 0);
        ASSERT_EQ(SSD_OP_DB_Update_SSD_Runtime_Data(record, op, "/root/heat"), 0);
    }
};

TEST_F(Recommending, TellsTheRatioItsCostAndHowSureItIs) {
    const int record = support::store_record("R", appliance().drives());
    EXPECT_EQ(run("1").status, 3);
    EXPECT_THAT(run("1").output, HasSubstr("No ratio of record 1 has a rate"));
    EXPECT_EQ(run("2").status, 4);
    for (const char* wrong : {"1 --min-iops 0", "1 --gain -5", "1 --endurance nan"})
        EXPECT_EQ(run(wrong).status, 2) << wrong;

    SSD_OP_DB_Update_Record_LV_Size(1000, record);
    measure(record, 10, 4.0, 10'000, 45);
    measure(record, 20, 2.0, 20'000, 71);
    ASSERT_EQ(SSD_OP_DB_Update_Test_Result(record, 30, 0, 0), 0);
    ASSERT_EQ(SSD_OP_Test_Add_Skip_OP(record, 40), 0);
    const auto told = run("1 --gain 99 --endurance 100");
    EXPECT_EQ(told.status, 0) << told.output;
    for (const char* text : {"OP 20 %: 20000 IOPS, the smallest measured ratio with at least 19900",
                             "209.7 MB, 20 % of", "OP 20 % is 25.0 %",
                             "2 measured, OP 30 % without a rate, OP 40 % skipped; the evaluation",
                             "vary by 2.0 %, their slope is +0.0 %",
                             "steady; 71 °C at most, where drives may slow down",
                             "the margin is smaller than the variation", "x 2.00", "50.0 TB",
                             "refused: it takes three measured ratios"})
        EXPECT_THAT(told.output, HasSubstr(text)) << told.output;

    const auto missed = run("1 --min-iops 20001 --json 2>/dev/null");
    EXPECT_EQ(missed.status, 3);
    const json found = json::parse(missed.output, nullptr, false);
    EXPECT_EQ(found["recommended"], nullptr) << missed.output;
    EXPECT_EQ(found["best"]["op"], 20);
    EXPECT_EQ(found["knee"], json({{"shape", "too few ratios"}}));
    EXPECT_EQ(found["measured"][1]["lifetime_factor"], 2.0);
    EXPECT_EQ(found["unmeasured"],
              json::parse(R"([{"op":30,"skipped":false},{"op":40,"skipped":true}])"));
}

TEST_F(Recommending, ShowsMeasuredAndFittedRatesApart) {
    const int record = support::store_record("R", appliance().drives());
    for (const Rate& rate : curve(kSimulated))
        ASSERT_EQ(SSD_OP_DB_Update_Test_Result(record, rate.op, 0, rate.iops), 0);
    const auto told = run("1 --min-iops 20000");
    EXPECT_THAT(told.output, HasSubstr("By the fit   OP 17 %")) << told.output;
    EXPECT_THAT(told.output, HasSubstr("unknown, OP 20 % has no five rounds"));
    EXPECT_THAT(told.output, testing::ContainsRegex("\n15 % +- +1[89][0-9]{3} +-\n"));
    const json found = json::parse(run("1 --json").output, nullptr, false);
    EXPECT_EQ(found["knee"]["op"], 20);
    EXPECT_EQ(found["fit"]["rates"][2]["measured"], 15775);
    EXPECT_EQ(found["fit"]["rates"][1]["measured"], nullptr);

    appliance().run_sql("UPDATE TEST_RECORD SET sequential = 1");
    EXPECT_THAT(run("1").output, HasSubstr("refused: the theory is one of random writes"));
    EXPECT_THAT(run("1").output, Not(HasSubstr("By the fit")));
}

TEST_F(Recommending, LeavesOutWhatADamagedRecordCannotMean) {
    const int record = support::store_record("R", appliance().drives());
    for (const int op : {0, 10, 20})
        ASSERT_EQ(SSD_OP_DB_Update_Test_Result(record, op, 2 - op / 20.0, 1000 + op), 0);
    appliance().run_sql(
        "UPDATE TEST_RECORD SET status = -1, min_op = -2147483648, max_op = 2147483647, "
        "interval = 2000000000;"
        "INSERT INTO TEST_DATA SELECT percentage, '7', '9999', f_record_no FROM TEST_DATA;"
        "INSERT INTO TEST_DATA VALUES(100, '1', '9999', 1), (-5, '1', '9999', 1), "
        "(30, '1', '1e300', 1), (40, 'x', 'y', 1)");
    const auto told = run("1");
    EXPECT_EQ(told.status, 0) << told.output;
    EXPECT_THAT(told.output, HasSubstr("3 measured, OP -2147483648 % without a rate"));
    EXPECT_THAT(told.output, HasSubstr("the evaluation is stopped"));
    EXPECT_THAT(told.output, HasSubstr("as the rate hardly depends on OP"));
    EXPECT_THAT(told.output, Not(HasSubstr("9999")));
}

TEST_F(Recommending, NamesNoRatioWhereNoneStandsOut) {
    const int record = support::store_record("R", appliance().drives());
    for (const auto& [op, iops] : curve({1000, 1000, 1000, 9000, 17000}))
        ASSERT_EQ(SSD_OP_DB_Update_Test_Result(record, op, 0, iops), 0);
    const auto unasked = run("1");
    EXPECT_EQ(unasked.status, 3);
    EXPECT_THAT(unasked.output, HasSubstr("The curve has no knee; name a wish"));
    const auto asked = run("1 --min-iops 2000");
    EXPECT_EQ(asked.status, 0);
    EXPECT_THAT(asked.output, HasSubstr("OP 30 %: 9000 IOPS"));
    EXPECT_THAT(asked.output, HasSubstr("refused: the curve does not fit, it is off by up to"));
    EXPECT_THAT(asked.output, Not(HasSubstr("Fitted")));
}

}  // namespace
