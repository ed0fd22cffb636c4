// The steps of a running test, one by one: the script's run, the capture of its results, the
// sampling of temperatures, and the killing of what works on a record's drives.

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <filesystem>

#include <gmock/gmock.h>
#include <signal.h>
#include <unistd.h>

#include "core/state.h"
#include "support/appliance.h"
#include "support/evaluation.h"

namespace {

using namespace support;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

class Steps : public ApplianceTest {
  protected:
    void begin_test(Groups& groups, int status = SSD_OP_TEST_STATUS_TESTING) {
        groups.numbered(800);
        lv_id_ = make_storage(groups);
        record_ = new_record(groups, status);
        param_ = request(0, 20, 10);
        param_.lv_id = lv_id_;
    }
    int run_script(const std::string& body) {
        plant_test_script(body);
        return SSD_OP_Test_Start(&param_, record_.get());
    }

    int lv_id_ = -1;
    Record record_;
    ssd_op_test_param param_{};
};

TEST_F(Steps, TheScriptsEndIsJudgedAndReported) {
    Groups groups(1, {0, 1});
    begin_test(groups);
    const auto old_handler = ::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(run_script("exit 0"), 0);
    EXPECT_EQ(::signal(SIGCHLD, old_handler), SIG_IGN) << "the caller's disposition comes back";
    EXPECT_EQ(run_script("exit 3"), -1);
    EXPECT_TRUE(appliance().traced("reason code:3."));
    EXPECT_EQ(run_script("kill -9 $$"), -1);
    EXPECT_THAT(appliance().events(), IsEmpty());
    EXPECT_EQ(run_script("exit 255"), -1);
    EXPECT_EQ(appliance().events().size(), 1U);

    param_.lv_id = 1599;
    EXPECT_EQ(run_script("exit 0"), -1);
    EXPECT_TRUE(appliance().traced("[Device(1599)] Device doesn't exist."));
}

TEST_F(Steps, TheScriptsArgumentsCanBeOverridden) {
    Groups groups(1, {0, 1});
    begin_test(groups);
    write_file("/root/KOVA_Number1", "[Oprella]\nmin_iops = 0x100\nabort_time = 77\n");
    EXPECT_EQ(run_script("echo \"$8 $9\" >/tmp/arguments"), 0);
    ::unlink("/root/KOVA_Number1");
    EXPECT_EQ(read_file("/tmp/arguments"), "256 77\n");
}

TEST_F(Steps, TheScriptIsToldWhatToWrite) {
    Groups groups(1, {0, 1});
    begin_test(groups);
    std::string told;
    for (const int type :
         {SSD_OP_TEST_TYPE_RANDOM, SSD_OP_TEST_TYPE_SEQUENTIAL, SSD_OP_TEST_TYPE_ALL}) {
        param_.test_type = type;
        EXPECT_EQ(run_script("echo \"$2\" >/tmp/arguments"), 0);
        told += read_file("/tmp/arguments");
    }
    EXPECT_EQ(told, "random\nsequential\nall\n");
}

TEST_F(Steps, ResultsAreReadFromTheReportAsFarAsItGoes) {
    Groups groups(1, {0, 1});
    begin_test(groups);
    EXPECT_EQ(run_script("printf 'head\\nOP_0%%, 512.5, 498.25\\nOP_10%% 7 nonsense\\n' "
                         ">\"${PREFIX}report.csv\""),
              0);
    record_->result_2[1] = 3;
    EXPECT_EQ(SSD_OP_Test_Save_Result(&param_, record_.get()), 0);
    const Record stored = read_record(record_->record_no);
    ASSERT_EQ(stored->count, 3);
    EXPECT_EQ(stored->result_1[0], 512.5L);
    EXPECT_EQ(stored->result_2[0], 498.25L);
    EXPECT_EQ(stored->result_1[1], 7.0L);
    EXPECT_EQ(stored->result_2[1], 3.0L) << "no number: the figure stays";
    EXPECT_EQ(stored->result_2[2], 0.0L);
    EXPECT_FALSE(exists(std::string(param_.log_prefix) + "report.csv"));

    // Whatever the request says, nothing is written past the record's arrays.
    param_.max_op = 100;
    param_.interval = 1;
    SSD_OP_Test_Save_Result(&param_, record_.get());
    EXPECT_EQ(record_->count, SSD_OP_MAX_RATIOS);
    param_.interval = -1;
    SSD_OP_Test_Save_Result(&param_, record_.get());
    EXPECT_EQ(record_->count, 0);
}

/// A front end may run in a locale that writes "2010,25".
TEST_F(Steps, NumbersHaveAPointInAnyLocale) {
    ASSERT_EQ(std::system("localedef -i de_DE -f UTF-8 /tmp/de_DE.UTF-8 >/dev/null 2>&1"), 0);
    ::setenv("LOCPATH", "/tmp", 1);
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");
    Groups groups(1, {0, 1});
    begin_test(groups);
    EXPECT_EQ(run_script("printf 'OP_0%%, 1.25, 2010.25\n' >\"${PREFIX}report.csv\""), 0);
    EXPECT_EQ(SSD_OP_Test_Save_Result(&param_, record_.get()), 0);
    write_file("/etc/.sm_v2_ssd_op_test_1",
               std::string("1;2;3;4;5;12.5;") + std::string(44, ';') + "99.75;\n");
    float percent = 0;
    long double value = 0;
    SSD_OP_Test_Get_Current_OP_Progress(1, &percent);
    SSD_OP_Test_Get_Current_OP_Test_Value(1, &value);
    const Record stored = read_record(1);
    char report[256] = "";
    EXPECT_EQ(SSD_OP_Test_Export_CSV(1, report, sizeof report), 0);
    std::setlocale(LC_ALL, "C");
    std::filesystem::remove_all("/tmp/de_DE.UTF-8");

    EXPECT_EQ(stored->result_1[0], 1.25L);
    EXPECT_EQ(stored->result_2[0], 2010.25L);
    EXPECT_EQ(percent, 12.5F);
    EXPECT_EQ(value, 99.75L);
    EXPECT_THAT(read_file(report), HasSubstr("2010.250000"));
}

TEST_F(Steps, WithoutALogPrefixNoReportIsRead) {
    Groups groups(1, {0, 1});
    begin_test(groups);
    const std::string report = std::filesystem::current_path() / "report.csv";
    write_file(report, "OP_0%, 1, 2\n");
    EXPECT_EQ(SSD_OP_Test_Save_Result(&param_, record_.get()), 0);
    EXPECT_TRUE(exists(report));
    ::unlink(report.c_str());
    EXPECT_EQ(read_record(1)->result_2[0], 0.0L);
}

TEST_F(Steps, AReportThatIsALinkIsNotRead) {
    Groups groups(1, {0, 1});
    begin_test(groups);
    write_file("/root/other", "OP_0%, 1, 2\n");
    EXPECT_EQ(run_script("ln -s /root/other \"${PREFIX}report.csv\""), 0);
    EXPECT_EQ(SSD_OP_Test_Save_Result(&param_, record_.get()), 0);
    EXPECT_EQ(read_record(1)->result_2[0], 0.0L);
    EXPECT_TRUE(exists("/root/other"));
}

TEST_F(Steps, TemperaturesAreSampledAsLongAsTheTestRuns) {
    Groups groups(5, {0, 1, 2});
    begin_test(groups);
    const std::string path = "/tmp/samples.csv";
    write_file(path, "old\n");
    appliance().failing("PD_SMART_Get_Temperature", Nth(2), 246);
    appliance().failing("PD_SMART_Read_Info", Nth(3), -1);
    appliance().slow("PD_SMART_Get_Temperature", Nth(1), 100'000);
    Child sampler([&] {
        return SSD_OP_Test_Collect_SSD_Info(record_->record_no, volume_name(lv_id_).c_str(), 0, 30,
                                            path.c_str()) == -1
                   ? 0
                   : 1;
    });
    ASSERT_TRUE(eventually([&] {
        return read_file(path).find('\n') != std::string::npos && read_file(path) != "old\n";
    }));
    SSD_OP_Test_Set_Status(record_->record_no, SSD_OP_TEST_STATUS_STOPPED);
    EXPECT_EQ(sampler.wait(), exited(0));
    const std::string samples = read_file(path);
    EXPECT_THAT(samples.substr(0, samples.find('\n')), MatchesRegex("[0-9]+, 65537, 1, [0-9]+"));
    EXPECT_GE(std::stol(samples), 130'000) << "the time is taken after the temperatures are read";
    EXPECT_THAT(samples, HasSubstr(", 65538, 2, -10\n"));
    EXPECT_THAT(samples, HasSubstr(", 65539, 3, 0\n"));

    appliance().healthy();
    EXPECT_EQ(SSD_OP_Test_Record_SSD_Info(record_->record_no, 12345, path.c_str()), 0);
    EXPECT_THAT(read_file(path), HasSubstr("\n12345, 65539, 3, "));
    EXPECT_EQ(SSD_OP_Test_Record_SSD_Info(99, 1, path.c_str()), 0);
}

TEST(TimeDiff, BorrowsASecond) {
    const timespec difference = time_diff({5, 900000000}, {7, 100000000});
    EXPECT_EQ(difference.tv_sec, 1);
    EXPECT_EQ(difference.tv_nsec, 200000000);
}

TEST_F(Steps, AStopKillsWhatWorksOnDrivesAndVolumesAndNothingElse) {
    Groups groups(1, {0, 1});
    begin_test(groups, SSD_OP_TEST_STATUS_INITIATING);
    char drive[32] = "";
    PD_Get_Sys_Name(appliance::kEnclosure, static_cast<int>(appliance::kFirstPort), drive, 32);
    // A program that does nothing, under another name and with a device in its arguments.
    const auto poser = [](const std::string& name, const std::string& device) {
        return std::make_unique<Child>([=] {
            ::execl("/usr/bin/tail", name.c_str(), "-f", "/dev/null", device.c_str(), nullptr);
            return 1;
        });
    };
    const auto fio = poser("fio", drive);
    const auto discard = poser("/sbin/kblkdiscard", std::string(drive) + "3");
    const auto script = poser("test-all.sh", volume_name(lv_id_));
    const auto bystander = poser("fio", "/dev/another");
    ASSERT_TRUE(eventually([] {
        int posers = 0;
        for (const ProcessInfo& process : processes())
            posers += process.command.find(" -f /dev/null ") != std::string::npos;
        return posers == 4;
    }));

    EXPECT_EQ(SSD_OP_Test_Stop(record_->record_no, 1, 1, SSD_OP_TEST_STATUS_INITIATING, 0), 0);
    EXPECT_EQ(fio->wait(), killed(SIGKILL));
    EXPECT_EQ(discard->wait(), killed(SIGKILL));
    EXPECT_EQ(script->wait(), killed(SIGKILL));
    EXPECT_EQ(::kill(bystander->pid(), 0), 0);
    EXPECT_THAT(appliance().volumes(), IsEmpty());
    EXPECT_EQ(appliance().events().size(), 1U) << "one for the group";
    EXPECT_EQ(SSD_OP_Test_Stop(record_->record_no, 1, 1, 2, 0), 0) << "the groups are gone";
    EXPECT_EQ(SSD_OP_Test_Stop(0, 1, 1, 2, 0), 0);
    EXPECT_EQ(SSD_OP_Test_Stop(99, 1, 1, 2, 0), 0);
}

}  // namespace
