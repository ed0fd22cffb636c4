// The add-on's scripts, run as the library runs them, on a small test volume.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/state.h"
#include "platform/storage.h"
#include "ssd_op.h"
#include "support/appliance.h"

namespace {

using support::Ending;
using support::exited;
using support::Nth;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr int kRaidId = 800;
const std::string kUtil = std::string(appliance::kAddonPath) + "/util";

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
    return parts;
}

/// What the scripts keep of a ratio.
struct Kept {
    int op;
    double write_amplification, steady_iops, other_iops;
    int rounds;
    std::string label;
};

class AddonRun : public support::ApplianceTest {
  protected:
    /// A RAID 5 group with a volume on it, a record that is testing, and a drive beside it.
    void SetUp() override {
        appliance().with([](appliance::Blueprint& blueprint) {
            blueprint.drives = 4;
            blueprint.drive.size_gb = 8;
        });
        create_volume();
        create_record();
    }

    void create_volume() {
        auto group = std::make_unique<RAID_CONF>();
        group->raid_id = kRaidId;
        group->raid_level = 5;
        group->drive_num = 3;
        for (int i = 0; i < 3; ++i) group->drive_ids[i] = appliance::drive_id(i);
        const POOL_CREATE_OPTIONS options{.alignment = 0, .owner = -1, .reserved = {}};
        const int pool = NAS_Pool_Create(group.get(), 0, 0, &options, nullptr);
        ASSERT_GE(pool, 0);
        LV_CREATE_REQUEST request{};
        request.pool_id = pool;
        request.lv_id = LV_Get_Next_Available_Id(1, LV_TYPE_TEST);
        request.type = LV_TYPE_TEST;
        ASSERT_EQ(LV_Create(&request, 0, 0), 0);
        char name[64] = "";
        ASSERT_EQ(LV_Get_Name(request.lv_id, name, sizeof name), 0);
        volume_ = name;
        ASSERT_EQ(LV_Get_Size(request.lv_id, &sectors_), 0);
    }

    void create_record(const std::string& title = {}, int drives = 3) {
        auto* record = static_cast<ssd_op_db_record*>(std::calloc(1, sizeof(ssd_op_db_record)));
        auto* raid = static_cast<ssd_op_db_raid_conf*>(std::calloc(1, sizeof(ssd_op_db_raid_conf)));
        raid->raid_id = kRaidId;
        raid->raid_level = 5;
        raid->ssd_drive_num = drives;
        for (int i = 0; i < drives; ++i) raid->ssd_drives[i].dev_id = appliance::drive_id(i);
        record->raid_conf = raid;
        title.copy(record->title, sizeof record->title - 1);
        record->max_op = 20;
        record->interval = 20;
        record->lv_size = sectors_ >> 11;
        ASSERT_EQ(SSD_OP_DB_New_Record(record), 0);
        record_no_ = record->record_no;
        SSD_OP_DB_Free_Record(record);
        ASSERT_EQ(SSD_OP_Test_Set_Status(record_no_, SSD_OP_TEST_STATUS_TESTING), 0);
    }

    struct Run {
        std::string type = "random";
        int min = 0, max = 0, interval = 1;
        int size_mib = 0;  // 0: the whole volume
        long min_iops = 0;
        int abort_time = 0;
    };

    /// The script as the library would run it, in a child that becomes it.
    support::Child start(const Run& run) const {
        const uint64_t size = run.size_mib > 0 ? run.size_mib : sectors_ >> 11;
        const std::vector<std::string> words = {"/bin/sh",
                                                kUtil + "/test-all.sh",
                                                volume_,
                                                run.type,
                                                std::to_string(run.min),
                                                std::to_string(run.max),
                                                std::to_string(run.interval),
                                                std::to_string(record_no_),
                                                std::to_string(size) + "M",
                                                std::to_string(run.min_iops),
                                                std::to_string(run.abort_time),
                                                "0"};
        return support::Child([words] {
            std::vector<char*> arguments;
            arguments.reserve(words.size() + 1);
            for (const std::string& word : words)
                arguments.push_back(const_cast<char*>(word.c_str()));
            arguments.push_back(nullptr);
            ::execv(arguments[0], arguments.data());
            return 127;
        });
    }

    Ending measure(const Run& run) const { return start(run).wait(); }

    std::string log_file(const std::string& type, const std::string& name) const {
        std::string volume = volume_;
        std::replace(volume.begin(), volume.end(), '/', '_');
        return kUtil + "/log/" + volume + "_" + type + "_" + name;
    }

    std::vector<Kept> history() const {
        std::vector<Kept> kept;
        const auto lines = split(
            support::read_file(kUtil + "/history/Record_" + std::to_string(record_no_) + ".csv"),
            '\n');
        for (size_t i = 1; i < lines.size(); ++i) {
            const auto fields = split(lines[i], ',');
            if (fields.size() != 6) continue;
            kept.push_back({std::stoi(fields[0]), std::stod(fields[1]), std::stod(fields[2]),
                            std::stod(fields[3]), std::stoi(fields[4]), fields[5]});
        }
        return kept;
    }

    /// What the drives counted at each ratio.
    std::string drives_history() const {
        return support::read_file(kUtil + "/history/Record_" + std::to_string(record_no_) +
                                  "_drives.csv");
    }

    std::string count_of(const std::string& table) {
        return appliance().sql_value("SELECT COUNT() FROM " + table);
    }

    /// A process other than this one has the volume's name on its command line.
    bool works_on_volume(const std::string& program) const {
        const auto all = support::processes();
        return std::any_of(all.begin(), all.end(), [&](const support::ProcessInfo& process) {
            return process.pid != ::getpid() && process.state != 'Z' &&
                   process.command.find(volume_) != std::string::npos &&
                   process.command.find(program) != std::string::npos;
        });
    }

    /// Polls as a front end does until the run ends.
    void watch_progress(const support::Child& run) const {
        float highest = 0;
        int falls = 0;  // one after the other: a single one is the moment between two ratios
        bool saw_fill = false;
        bool saw_time_left = false;
        for (float progress = 0; still_runs(run.pid()); support::pause_for_milliseconds(20)) {
            ASSERT_EQ(SSD_OP_Test_Get_Progress(record_no_, nullptr, &progress), 0);
            falls = progress < highest ? falls + 1 : 0;
            EXPECT_LT(falls, 2) << progress << " after " << highest;
            highest = std::max(highest, progress);
            int ratio = -2;
            SSD_OP_Test_Get_Current_OP_Percentage(record_no_, &ratio);
            saw_fill = saw_fill || ratio == -1;
            unsigned long long seconds = 0;
            SSD_OP_Test_Get_Remain_Time(record_no_, nullptr, &seconds);
            saw_time_left = saw_time_left || seconds > 0;
        }
        EXPECT_TRUE(saw_fill);
        EXPECT_TRUE(saw_time_left);
        float progress = 0;
        SSD_OP_Test_Get_Progress(record_no_, nullptr, &progress);
        EXPECT_FLOAT_EQ(progress, 90);  // all that testing contributes
    }

    static bool still_runs(pid_t pid) {
        siginfo_t ended{};
        ::waitid(P_PID, static_cast<id_t>(pid), &ended, WEXITED | WNOHANG | WNOWAIT);
        return ended.si_pid == 0;
    }

    std::string volume_;
    uint64_t sectors_ = 0;
    int record_no_ = 0;
};

TEST_F(AddonRun, MeasuresEveryRatio) {
    auto run = start({.min = 0, .max = 20, .interval = 20});
    watch_progress(run);
    ASSERT_EQ(run.wait(), exited(0));

    const auto kept = history();
    ASSERT_EQ(kept.size(), 2U);
    for (const Kept& ratio : kept) {
        EXPECT_EQ(ratio.label, "steady") << ratio.op;
        EXPECT_GE(ratio.rounds, 5);
        EXPECT_NEAR(ratio.other_iops, ratio.steady_iops, 0.1 * ratio.steady_iops);
        EXPECT_GE(ratio.write_amplification, 1);
    }
    // More spare space, fewer copies, more IOPS: the drives got their blocks back.
    EXPECT_GT(kept[1].steady_iops, 1.3 * kept[0].steady_iops);
    EXPECT_LT(kept[1].write_amplification, kept[0].write_amplification / 1.3);

    const std::string report = support::read_file(log_file("random", "report.csv"));
    for (const char* token : {"OP_0%", "OP_20%"}) {
        EXPECT_THAT(report, HasSubstr(std::string("\n") + token + ", "));
        EXPECT_EQ(report.find(token), report.rfind(token)) << report;
    }
    const int rounds = kept[0].rounds + kept[1].rounds;
    EXPECT_EQ(count_of("RUNTIME_REPORT"), std::to_string(2 * 20 + rounds));
    // One row for each of three drives at the start and after each step.
    EXPECT_EQ(count_of("SSD_RUNTIME_DATA"), std::to_string(3 * (2 * 21 + rounds)));
}

TEST_F(AddonRun, MeasuresSequentialWritesBeforeRandomOnes) {
    ASSERT_EQ(measure({.type = "all", .min = 0, .max = 20, .interval = 20}), exited(0));
    const auto kept = history();
    ASSERT_EQ(kept.size(), 2U);
    EXPECT_GT(kept[0].other_iops, 100);  // blocks of 1 MiB
    EXPECT_GT(kept[0].steady_iops, kept[0].other_iops);
    // The random writes of the ratio before do not slow a sequence down for good.
    EXPECT_NEAR(kept[1].other_iops, kept[0].other_iops, 0.02 * kept[0].other_iops);
    EXPECT_TRUE(appliance().journal().shows("fio", "--rw=randwrite"));
}

/// The appliance's fio, with what a host's tells beside its line.
class TalkingFio {
  public:
    TalkingFio() {
        std::filesystem::remove(kPlace);
        support::write_file(kPlace,
                            "#!/bin/bash\nprintf '%s\\n' mean_latency_us,120.5 p99_latency_us,900 "
                            "iops,11 iops,no iops,22 >\"$SSD_OP_FIO_DETAILS\"\n"
                            "exec /opt/appliance/bin/fio \"$@\"\n");
        std::filesystem::permissions(kPlace, std::filesystem::perms::all);
    }
    TalkingFio(const TalkingFio&) = delete;
    TalkingFio& operator=(const TalkingFio&) = delete;
    ~TalkingFio() {
        std::filesystem::remove(kPlace);
        std::filesystem::create_symlink("/opt/appliance/bin/fio", kPlace);
    }

  private:
    static constexpr const char* kPlace = "/sbin/fio";
};

TEST_F(AddonRun, RehearsesAndKeepsTheLatenciesAndSecondsThatFioTells) {
    create_record("Quick rehearsal: of latencies");
    const TalkingFio fio;
    ASSERT_EQ(measure({.size_mib = 64}), exited(0));
    EXPECT_TRUE(appliance().journal().shows("fio", "--runtime=5 "));
    EXPECT_FALSE(appliance().journal().shows("fio", "--runtime=60 "));
    const auto kept = history();
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_GE(kept[0].write_amplification, 1);  // no latency

    constexpr size_t kSlices = 4;
    const auto lines = split(support::read_file(log_file("random", "runtime_0.csv")), '\n');
    ASSERT_EQ(lines.size(), kSlices + 3 * static_cast<size_t>(kept[0].rounds));
    EXPECT_EQ(count_of("RUNTIME_REPORT"), std::to_string(lines.size()));
    for (const std::string& line : lines) EXPECT_THAT(line, HasSubstr(", 120.5, 900, ")) << line;
    const auto before = split(lines[kSlices - 1], ',');
    for (const auto& [line, rate] : {std::pair(kSlices, " 11"), std::pair(kSlices + 1, " 22")}) {
        const auto second = split(lines[line], ',');
        EXPECT_EQ(second[1], rate);
        EXPECT_EQ(second[4], before[4]);  // no more written than before the round
    }
    EXPECT_NE(split(lines[kSlices + 2], ',')[4], before[4]);
    EXPECT_THAT(drives_history(), ::testing::ContainsRegex("\n0,[0-9]+,[0-9]+,[0-9]+,120.5,900\n"));
}

TEST_F(AddonRun, CountsNoReadingThatLacksADrive) {
    create_record("Quick rehearsal: of a drive that does not answer");
    const TalkingFio fio;
    const Run run{.size_mib = 64, .min_iops = 10'000'000};  // four slices and five rounds
    // Each of the ten samples reads three drives twice. Missed are the first and the last one.
    for (const int read : {1, 6 * 9 + 1}) appliance().failing("PD_SMART_Read_Info", Nth(read), -1);
    ASSERT_EQ(measure(run), exited(0));
    ASSERT_EQ(history().size(), 1U);
    EXPECT_GE(history()[0].write_amplification, 1);
    EXPECT_LT(history()[0].write_amplification, 10);
    EXPECT_THAT(drives_history(), HasSubstr("\n0,,,"));  // and not of a lifetime

    create_record("Quick rehearsal: of a drive that counts nothing", 4);
    appliance::exclusively([] {  // it is no SSD any more
        return appliance::state().exec("UPDATE drive SET flags = 0 WHERE dev_id & 255 = 4");
    });
    ASSERT_EQ(measure(run), exited(0));
    EXPECT_EQ(history()[0].write_amplification, 0);
    EXPECT_THAT(drives_history(), ::testing::ContainsRegex("\n0,[0-9]+,,"));
}

TEST_F(AddonRun, SkipsARatioThatCannotBeSet) {
    appliance().failing("LV_Resize", Nth(1), -1);
    ASSERT_EQ(measure({.min = 0, .max = 20, .interval = 20, .size_mib = 1000}), exited(0));
    EXPECT_EQ(SSD_OP_Test_Is_Skip_OP(record_no_, 0), 1);
    EXPECT_EQ(SSD_OP_Test_Is_Skip_OP(record_no_, 20), 0);
    EXPECT_EQ(count_of("RUNTIME_REPORT WHERE percentage = 0"), "0");
    const auto kept = history();
    ASSERT_EQ(kept.size(), 2U);
    EXPECT_EQ(kept[0].label, "skipped");
    EXPECT_GT(kept[1].steady_iops, 0);
    EXPECT_THAT(support::read_file(log_file("random", "report.csv")), Not(HasSubstr("OP_0%")));
}

TEST_F(AddonRun, FailsWhenARatioCannotBeSetForWantOfADrive) {
    const Run run{.min = 0, .max = 20, .interval = 20, .size_mib = 64};
    appliance().failing("LV_Resize", Nth(1), -1).failing("PD_Is_Exist", Nth(2), 0);
    EXPECT_EQ(measure(run), exited(1));
    appliance().failing("LV_Resize", Nth(1), -1);
    appliance::exclusively([] {
        return appliance::state().exec(
            "UPDATE drive SET serial_no = 'another' WHERE dev_id & 255 = 2");
    });
    EXPECT_EQ(measure(run), exited(1));
}

TEST_F(AddonRun, FailsWhenNoRatioCanBeSet) {
    appliance().failing("LV_Resize");
    EXPECT_EQ(measure({}), exited(1));
}

TEST_F(AddonRun, GivesUpARatioBelowTheLowestRateAfterOneWindow) {
    ::setenv("OPR_REHEARSAL", "yes", 1);  // left over: this record is none
    EXPECT_EQ(measure({.size_mib = 1000, .min_iops = 10'000'000}), exited(0));
    ::unsetenv("OPR_REHEARSAL");
    EXPECT_TRUE(appliance().journal().shows("fio", "--runtime=60 "));
    const auto kept = history();
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_EQ(kept[0].label, "aborted");
    EXPECT_EQ(kept[0].rounds, 5);
    EXPECT_GT(kept[0].steady_iops, 0);
}

TEST_F(AddonRun, SaysWhenADriveWasTooHot) {
    appliance::exclusively([] {
        return appliance::state().exec("UPDATE drive SET temperature = 71 WHERE dev_id & 255 = 2");
    });
    EXPECT_EQ(measure({.size_mib = 1000}), exited(0));
    const auto kept = history();
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_EQ(kept[0].label, "throttled");
}

TEST_F(AddonRun, GivesUpARatioWhenItsTimeIsOverAndKeepsWhatItHas) {
    EXPECT_EQ(measure({.abort_time = 1}), exited(0));
    const auto kept = history();
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_EQ(kept[0].label, "aborted");
    EXPECT_EQ(kept[0].rounds, 0);
    EXPECT_GT(kept[0].steady_iops, 0);
    EXPECT_NE(count_of("RUNTIME_REPORT"), "0");
}

TEST_F(AddonRun, FailsWithAProgramThatFailsAndKeepsWhatItHas) {
    appliance().failing("fio", Nth(20), 1);  // 10 slices of the fill, then those of the ratio
    EXPECT_EQ(measure({.size_mib = 1000}), exited(1));
    EXPECT_EQ(count_of("RUNTIME_REPORT"), "9");
    EXPECT_THAT(support::read_file(log_file("random", "report.csv")), HasSubstr("aborted"));
}

TEST_F(AddonRun, EndsWhenTheRecordIsStopped) {
    auto run = start({});
    ASSERT_TRUE(support::eventually([&] { return works_on_volume("fio"); }));
    SSD_OP_Test_Set_Status(record_no_, SSD_OP_TEST_STATUS_STOPPED);
    EXPECT_EQ(run.wait(), exited(3));
    EXPECT_FALSE(works_on_volume(""));
}

TEST_F(AddonRun, IsFoundAndKilledByAStop) {
    auto run = start({});
    ASSERT_TRUE(support::eventually([&] { return works_on_volume("fio"); }));
    EXPECT_EQ(SSD_OP_Test_Stop(record_no_, 1, 0, SSD_OP_TEST_STATUS_TESTING, 0), 0);
    EXPECT_EQ(run.wait(), support::killed(SIGKILL));
    EXPECT_FALSE(works_on_volume(""));
}

TEST_F(AddonRun, TakesItsChildrenWithItHoweverItIsEnded) {
    for (const int signal : {SIGKILL, SIGTERM}) {
        auto run = start({});
        ASSERT_TRUE(support::eventually([&] {
            return works_on_volume("fio") && works_on_volume("SOPT.sh");
        })) << "before signal "
            << signal;
        run.signal(signal);
        EXPECT_EQ(run.wait(), signal == SIGKILL ? support::killed(signal) : exited(128 + signal));
        // Far sooner than the run would have ended by itself.
        EXPECT_TRUE(support::eventually([&] { return !works_on_volume(""); }))
            << "after signal " << signal;
    }
}

TEST_F(AddonRun, RefusesArgumentsThatMeanNothing) {
    EXPECT_EQ(measure({.type = "ranom"}), exited(2));
    EXPECT_EQ(measure({.min = 20, .max = 10}), exited(2));
    EXPECT_EQ(measure({.interval = 0}), exited(2));
}

}  // namespace
