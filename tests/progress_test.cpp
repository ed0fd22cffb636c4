#include <climits>
#include <cmath>
#include <ctime>
#include <utility>

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "ssd_op.h"
#include "support/appliance.h"
#include "support/records.h"
#include "support/state.h"

namespace {

using namespace support;

class Progress : public ApplianceTest {
  protected:
    void key(const char* name, const std::string& value) {
        Ini_Conf_Set_Field(kRuntimeInfo, "Record_1", name, value.c_str());
    }

    /// The script's status file, with these texts in fields 6, 7, 49 and 51.
    void status_file(const std::string& percent, const std::string& time_left = "",
                     const std::string& amount = "", const std::string& value = "") {
        std::string line;
        for (int field = 1; field <= 51; ++field) {
            if (field == 6) line += percent;
            if (field == 7) line += time_left;
            if (field == 49) line += amount;
            if (field == 51) line += value;
            line += ';';
        }
        write_file("/etc/.sm_v2_ssd_op_test_1", line + "\n");
    }

    /// Record 1, in the database, with ratios 10 to 50 in steps of 10.
    void make_record() {
        const Record record = record_of("T", {{800, 1, {appliance().drives().front()}}});
        record->max_op = 50;
        ASSERT_EQ(SSD_OP_DB_New_Record(record.get()), 0);
        ASSERT_EQ(record->record_no, 1);
    }

    float progress(int status) {
        SSD_OP_DB_Update_Record_Status(status, 1);
        float percent = -5;
        EXPECT_EQ(SSD_OP_Test_Get_Progress(1, nullptr, &percent), 0);
        return percent;
    }
};

TEST_F(Progress, GivesEachStatusItsShareOfTheWay) {
    make_record();
    EXPECT_EQ(progress(0), 0.0F);
    EXPECT_EQ(progress(1), 1.0F) << "without any step progress";
    SSD_OP_Test_Set_Step_Progress(1, 50);
    EXPECT_EQ(progress(1), 5.5F);
    EXPECT_EQ(progress(3), 95.5F);
    SSD_OP_Test_Set_Step_Progress(1, 100);
    EXPECT_EQ(progress(3), 100.0F);
    for (const int ended : {4, -1, -2, -3}) EXPECT_EQ(progress(ended), 100.0F);
    EXPECT_EQ(progress(9), -5.0F) << "an unknown status changes nothing";
}

TEST_F(Progress, FollowsTheScriptWhileTesting) {
    make_record();
    EXPECT_EQ(progress(2), 11.0F) << "before the script has said anything";

    key("test_script_progress", "20");
    status_file("50");
    EXPECT_FLOAT_EQ(progress(2), 11 + 79 * 0.20F) << "no detail";
    key("current_op_percentage", "30");
    key("current_op_detail", "1");
    EXPECT_FLOAT_EQ(progress(2), 33.12F);
    key("current_op_percentage", "-2");
    EXPECT_FLOAT_EQ(progress(2), 11 + 79 * 0.20F);

    key("test_script_progress", "0");
    key("current_op_percentage", "-1");
    EXPECT_FLOAT_EQ(progress(2), 18.9F);

    // What is written is what is given, also where it is no percentage.
    key("test_script_progress", "200");
    EXPECT_FLOAT_EQ(progress(2), 11 + 79 * (2 + 0.1F));
    key("test_script_progress", "0");
    key("current_op_percentage", "-2");
    for (const auto& [text, percent] : {std::pair{"-5", -5.0F}, {"101", 101.0F}, {"x", 0.0F}}) {
        status_file(text);
        float of_ratio = 7;
        EXPECT_EQ(SSD_OP_Test_Get_Current_OP_Progress(1, &of_ratio), 0);
        EXPECT_EQ(of_ratio, percent);
    }
}

TEST_F(Progress, ReadsNoPipeNoLinkAndNothingEndless) {
    const char* path = "/etc/.sm_v2_ssd_op_test_1";
    float percent = 7;
    ::unlink(path);
    ASSERT_EQ(::mkfifo(path, 0644), 0);
    EXPECT_EQ(SSD_OP_Test_Get_Current_OP_Progress(1, &percent), -1);
    ::unlink(path);
    ASSERT_EQ(::symlink("/dev/zero", path), 0);
    EXPECT_EQ(SSD_OP_Test_Get_Current_OP_Progress(1, &percent), -1);
    ::unlink(path);
    status_file(std::string(2 << 20, '5'));
    EXPECT_EQ(SSD_OP_Test_Get_Current_OP_Progress(1, &percent), -1);
    EXPECT_EQ(percent, 7.0F);
}

TEST_F(Progress, TakesAFileThatIsNotWholeForNone) {
    make_record();
    key("current_op_percentage", "10");
    key("current_op_detail", "1");
    const std::string path = "/etc/.sm_v2_ssd_op_test_1";
    for (const std::string& content :
         {std::string(), std::string("1;/dev/mapper/lv1568;;;"), std::string(";;;;;\n"),
          std::string(100'000, 'x'), std::string(5000, '\0'), std::string(5000, ';')}) {
        write_file(path, content);
        float percent = 0;
        unsigned long long seconds = 5, amount = 5;
        long double value = 0;
        SSD_OP_Test_Get_Current_OP_Progress(1, &percent);
        SSD_OP_Test_Get_Current_OP_ETA(1, &seconds);
        SSD_OP_Test_Get_Current_OP_Test_Amount(1, &amount);
        SSD_OP_Test_Get_Current_OP_Test_Value(1, &value);
        EXPECT_EQ(percent, 0.0F) << content.size();
        EXPECT_EQ(seconds, 5U) << content.size();
        EXPECT_EQ(amount, 0U) << content.size();
        EXPECT_EQ(value, 0.0L) << content.size();
        EXPECT_EQ(progress(2), 11.0F) << content.size();
    }
}

TEST_F(Progress, ReadsTheFieldsOfTheStatusFile) {
    float percent = -1;
    unsigned long long amount = 7;
    long double value = 7;
    EXPECT_NE(SSD_OP_Test_Get_Current_OP_Progress(1, &percent), 0) << "there is no file";
    EXPECT_EQ(percent, -1.0F);
    status_file("12.5", "", "0x10", "4321.125");
    EXPECT_EQ(SSD_OP_Test_Get_Current_OP_Progress(1, &percent), 0);
    EXPECT_EQ(SSD_OP_Test_Get_Current_OP_Test_Amount(1, &amount), 0);
    EXPECT_EQ(SSD_OP_Test_Get_Current_OP_Test_Value(1, &value), 0);
    EXPECT_EQ(percent, 12.5F);
    EXPECT_EQ(amount, 16U);
    EXPECT_EQ(value, 4321.125L);
}

TEST_F(Progress, UnderstandsEachFormOfTheTimeLeft) {
    struct {
        const char* text;
        unsigned long long seconds;
    } const cases[] = {{"1d:2h:3m:4s", 93784},
                       {"2h:3m:4s", 7384},
                       {"5m:6s", 306},
                       {"59s", 59},
                       {"garbage", 12345},
                       {"-5s", 12345},
                       {"", 12345},
                       {"1h:-2m:3s", 1},  // the last form that has its numbers
                       {"7s-", 7}};
    for (const auto& form : cases) {
        status_file("0", form.text);
        unsigned long long seconds = 12345;
        EXPECT_EQ(SSD_OP_Test_Get_Current_OP_ETA(1, &seconds), 0);
        EXPECT_EQ(seconds, form.seconds) << form.text;
    }
}

class Estimate : public Progress {
  protected:
    Estimate() {
        record_.status = SSD_OP_TEST_STATUS_TESTING;
        record_.min_op = 10;
        record_.max_op = 50;
        record_.interval = 10;
    }

    unsigned long long remaining() {
        unsigned long long seconds = 999;
        EXPECT_EQ(SSD_OP_Test_Get_Remain_Time(1, &record_, &seconds), 0);
        return seconds;
    }

    int complete() {
        int count = -8;
        EXPECT_EQ(SSD_OP_Test_Get_Complete_Test_Count(1, &record_, &count), 0);
        return count;
    }

    ssd_op_db_record record_{};
};

TEST_F(Estimate, OfTheRemainingTimeTakesLaterRatiosAsFourFifthsOfThisOne) {
    const time_t start = std::time(nullptr) - 100;
    key("current_op_start_time", std::to_string(start));
    key("current_op_percentage", "30");
    key("current_op_detail", "1");
    status_file("0", "20s");
    const auto expected = [&](int ratios, time_t now) {
        return static_cast<unsigned long long>(20 + ratios * 0.8 *
                                                        (20 + static_cast<double>(now - start)));
    };
    for (const auto& [current, ratios] : {std::pair("30", 2), {"33", 2}, {"50", 0}, {"60", 0}}) {
        key("current_op_percentage", current);
        const unsigned long long earliest = expected(ratios, std::time(nullptr));
        const unsigned long long seconds = remaining();
        EXPECT_GE(seconds, earliest) << current;
        EXPECT_LE(seconds, expected(ratios, std::time(nullptr))) << current;
    }
}

TEST_F(Estimate, IsNothingBeforeTheFirstRatioOrWithoutAStart) {
    EXPECT_EQ(remaining(), 0U) << "nothing is known";
    key("current_op_percentage", "-1");
    key("current_op_start_time", "100");
    EXPECT_EQ(remaining(), 0U) << "the volume is being filled";
    key("current_op_percentage", "30");
    key("current_op_start_time", "99999999999");
    EXPECT_EQ(remaining(), 0U) << "it starts in the future";
    key("current_op_start_time", "100");
    EXPECT_GT(remaining(), 0U);
    record_.status = SSD_OP_TEST_STATUS_FINISHING;
    EXPECT_EQ(remaining(), 0U);
    unsigned long long seconds = 5;
    EXPECT_EQ(SSD_OP_Test_Get_Remain_Time(1, nullptr, &seconds), -1) << "there is no record";
}

TEST_F(Estimate, CountsSteps) {
    int total = -8;
    EXPECT_EQ(SSD_OP_Test_Get_Total_Test_Count(1, &record_, &total), -1);
    EXPECT_EQ(total, -8);
    EXPECT_EQ(complete(), -8) << "before the first ratio it stays as it was";
    key("current_op_percentage", "30");
    key("current_op_total_step", "4");
    key("current_op_running_step", "3");
    EXPECT_EQ(complete(), 10);
    EXPECT_EQ(SSD_OP_Test_Get_Total_Test_Count(1, &record_, &total), 0);
    EXPECT_EQ(total, 20);
    key("current_op_percentage", "9");
    EXPECT_EQ(complete(), -8) << "below the record's ratios";
}

TEST_F(Estimate, EndsForStepsThatLeadNowhere) {
    key("current_op_percentage", "30");
    key("current_op_start_time", "100");
    key("current_op_total_step", std::to_string(INT_MAX));
    key("current_op_running_step", "1");
    record_.max_op = INT_MAX;
    for (const int interval : {0, -10, INT_MIN}) {
        record_.interval = interval;
        EXPECT_EQ(complete(), 0) << interval;
        EXPECT_EQ(remaining(), 0U) << interval;
    }
    record_.interval = 1;
    EXPECT_EQ(complete(), INT_MAX) << "bounded";
    EXPECT_GT(remaining(), 0U);
}

}  // namespace
