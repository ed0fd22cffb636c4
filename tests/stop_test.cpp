// Stops: in every phase of an evaluation, of the right records, of what a dead driver left, and of
// what does not want to end.

#include "support/stop.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include "evaluation/stop/stop_programs.h"
#include "platform/ini.h"
#include "runtime/state_section.h"

namespace {

using namespace support;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kStartUpMark = "/tmp/opr_run_once_on_boot";
constexpr const char* kShutdownMark = "/var/kfunc/rcK";

class Stop : public ApplianceTest {
  protected:
    Stop() {
        appliance().with([](appliance::Blueprint& blueprint) { blueprint.drive.size_gb = 8; });
        write_file(kStartUpMark, "");
        ::unlink(kShutdownMark);
    }
    ~Stop() override {
        ::unlink(kStartUpMark);
        ::unlink(kShutdownMark);
    }

    /// Measurements take no time, and the script waits to be killed after its first result.
    void make_quick() {
        measure_at_once(appliance());
        plant_test_script(R"(
echo "OP_$3%, 1.5, 1234.5" >>"${PREFIX}report.csv"
exec -a "test-all.sh $1" tail -f /dev/null)");
    }
    /// An evaluation that has come to its (quick) test.
    std::unique_ptr<RunningEvaluation> testing(Groups& groups, int stop_service = 0) {
        ssd_op_test_param param = request(0, 20, 10);
        param.stop_service = stop_service;
        auto evaluation = std::make_unique<RunningEvaluation>(groups, param);
        EXPECT_TRUE(eventually([&] { return runs("test-all.sh /dev/mapper", "-f"); }));
        return evaluation;
    }
    std::vector<std::string> messages() {
        std::vector<std::string> found;
        for (const Event& event : appliance().events()) found.push_back(event.description);
        return found;
    }
};

/// A moment at which to stop, told by what runs and by what the record says.
struct Phase {
    const char* name;
    std::function<bool(const RunningEvaluation&)> is_on;
};

bool initiating(const RunningEvaluation& evaluation, int from, int below) {
    const int progress = evaluation.step_progress();
    return evaluation.status() == SSD_OP_TEST_STATUS_INITIATING && progress >= from &&
           progress < below;
}

int current_ratio(const RunningEvaluation& evaluation) {
    int ratio = -2;
    SSD_OP_Test_Get_Current_OP_Percentage(evaluation.record_no(), &ratio);
    return ratio;
}

/// Rows of the runtime report that are in the database.
int samples(int record_no) {
    return SSD_OP_DB_Query_Record_Runtime_Count(record_no, 0) +
           SSD_OP_DB_Query_Record_Runtime_Count(record_no, 10);
}

const Phase kPhases[] = {
    {"services", [](const auto&) { return runs("services.sh stop"); }},
    {"second service", [](const auto&) { return runs("rsyncd.sh stop"); }},
    {"discards", [](const auto&) { return runs("kblkdiscard", "-p 512"); }},
    {"sequential read", [](const auto& run) { return initiating(run, 26, 39); }},
    {"sequential write", [](const auto& run) { return initiating(run, 39, 52) && runs("fio"); }},
    {"random read", [](const auto& run) { return initiating(run, 52, 65); }},
    {"random write", [](const auto& run) { return initiating(run, 65, 78); }},
    {"pool", [](const auto& run) { return initiating(run, 78, 100); }},
    {"fill", [](const auto& run) { return current_ratio(run) == -1 && runs("fio"); }},
    {"first ratio",
     [](const auto& run) { return current_ratio(run) == 0 && samples(run.record_no()) >= 3; }},
    {"later ratio",
     [](const auto& run) { return current_ratio(run) == 10 && runs("SOPT.sh") && runs("fio"); }},
    {"results", [](const auto& run) { return run.status() == SSD_OP_TEST_STATUS_FINISHING; }},
};

/// With the add-on's own script and the real measurements.
TEST_F(Stop, EndsAnEvaluationInEveryPhase) {
    double longest = 0;
    int remove_storage = 1;
    for (const Phase& phase : kPhases) {
        SCOPED_TRACE(phase.name);
        appliance().renew();
        Groups groups(1, {0, 1});
        ssd_op_test_param param = request(0, 10, 10);
        param.test_size = 1000;
        param.stop_service = 1;
        RunningEvaluation evaluation(groups, param);
        ASSERT_TRUE(eventually([&] { return phase.is_on(evaluation); }, 100'000));
        const int sampled = samples(evaluation.record_no());
        const StopArguments arguments{.remove_storage = remove_storage ^= 1};
        const Stopped stopped = stop(evaluation, arguments);
        longest = std::max(longest, stopped.seconds_to_quiet);
        std::printf("%-16s returned after %5.1f s, quiet after %5.1f s\n", phase.name,
                    stopped.seconds_to_return, stopped.seconds_to_quiet);
        // The driver may have been quicker with the volume: that is no failure of the stop.
        EXPECT_THAT(stopped.result, ::testing::AnyOf(0, -12));
        expect_stopped(appliance(), evaluation.record_no(), SSD_OP_TEST_STATUS_STOPPED);
        const Journal journal = appliance().journal();
        for (const JournalRow& row : journal.rows("RAID_Remove_Conf"))
            EXPECT_NE(row.pid, ::getpid()) << "groups that the driver is still at work on";
        const Record record = read_record(evaluation.record_no());
        EXPECT_GE(samples(evaluation.record_no()), sampled);
        if (phase.name == std::string("later ratio")) {
            EXPECT_GT(record->result_2[0], 0);
        }
        if (phase.name == std::string("results")) {
            EXPECT_GT(record->result_2[1], 0);
        }
        expect_drives_are_free(appliance(), groups);
    }
    std::printf("longest time from stop to quiet: %.1f s\n", longest);
    EXPECT_LT(longest, 3000) << "most of it is the time that programs need, times the clock's rate";
}

TEST_F(Stop, KeepsResultsAndSaysWhoStopped) {
    make_quick();
    Groups groups(1, {0, 1});
    const auto evaluation = testing(groups);
    const ssd_op_requester requester{"", "10.0.0.7", "anna"};
    EXPECT_EQ(NAS_SSD_OP_Test_Stop(&requester, 0, 1, 0, 0, SSD_OP_STOP_NONE), -1);
    EXPECT_TRUE(appliance().traced("[Record(1)] Type is none!"));
    EXPECT_EQ(NAS_SSD_OP_Test_Stop(&requester, 0, 1, 0, 0, SSD_OP_STOP_BY_USER), 0);
    EXPECT_EQ(evaluation->driver().wait(), exited(1));
    expect_stopped(appliance(), 1, SSD_OP_TEST_STATUS_STOPPED);
    EXPECT_EQ(read_record(1)->result_2[0], 1234.5L);
    EXPECT_EQ(read_record(1)->result_2[1], 0.0L);
    EXPECT_EQ(appliance().events()[2].user, "anna") << ::testing::PrintToString(messages());
    EXPECT_EQ(messages().size(), 4U) << "started, created, stopped, removed";
    EXPECT_TRUE(appliance().traced("NAS_SSD_OP_Test_Stop: [Record(1)] Succeed to stop"));

    EXPECT_EQ(NAS_SSD_OP_Test_Stop(nullptr, 0, 1, 0, 0, SSD_OP_STOP_BY_USER), 0);
    EXPECT_TRUE(appliance().traced("[Record(1)] No need to stop test."));
}

TEST_F(Stop, OfTypeFailedNamesTheGroup) {
    for (const int raid_id : {800, -1}) {
        appliance().renew();
        make_quick();
        Groups groups(1, {0, 1});
        const auto evaluation = testing(groups);
        EXPECT_EQ(NAS_SSD_OP_Test_Stop(nullptr, 0, 1, raid_id, 0, SSD_OP_STOP_FAILED), 0);
        evaluation->driver().wait();
        expect_stopped(appliance(), 1, SSD_OP_TEST_STATUS_FAILED);
        int named = 0;
        for (const std::string& message : messages())
            named += message.find("800") != std::string::npos;
        EXPECT_EQ(named, raid_id == 800 ? 3 : 2) << "created, removed, and the one that failed";
    }
}

TEST_F(Stop, OfAnotherTypeLeavesTheStatusToTheDriver) {
    make_quick();
    Groups groups(1, {0, 1});
    const auto evaluation = testing(groups);
    EXPECT_EQ(NAS_SSD_OP_Test_Stop(nullptr, 0, 1, 0, 0, 3), 0);
    evaluation->driver().wait();
    expect_stopped(appliance(), 1, SSD_OP_TEST_STATUS_FAILED);
}

TEST_F(Stop, OfOneEvaluationLeavesTheOtherUntouched) {
    make_quick();
    Groups first(1, {0, 1});
    Groups second(1, {2, 3});
    const auto one = testing(first);
    ssd_op_test_param param = request(0, 20, 10);
    RunningEvaluation two(second, param);
    ASSERT_TRUE(eventually([] { return runs("test-all.sh /dev/mapper/lv1569", "-f"); }));
    EXPECT_EQ(NAS_SSD_OP_Test_Stop(nullptr, 0, SSD_OP_ALL_RECORDS, 800, 0, SSD_OP_STOP_BY_USER), 0);
    one->driver().wait();
    EXPECT_EQ(status_of(1), SSD_OP_TEST_STATUS_STOPPED);
    EXPECT_EQ(status_of(2), SSD_OP_TEST_STATUS_TESTING);
    EXPECT_TRUE(runs("test-all.sh", "lv1569"));
    EXPECT_THAT(appliance().volumes(), ElementsAre(1569));

    EXPECT_EQ(NAS_SSD_OP_Test_Stop(nullptr, 0, 2, 805, 1, SSD_OP_STOP_BY_USER), 0);
    EXPECT_EQ(status_of(2), SSD_OP_TEST_STATUS_TESTING) << "it has no group 805";
    stop(two);
}

TEST_F(Stop, OfAllRecordsTakesTheRunningOnes) {
    int raid_id = 900;
    EXPECT_EQ(NAS_SSD_OP_Test_Stop(nullptr, 0, SSD_OP_ALL_RECORDS, 0, 0, 1), 0);
    EXPECT_TRUE(appliance().traced("No record in database!"));
    for (const int status : {2, 4, 1, 3, -2, 0}) {
        Groups group(1, {0, 1});
        group.numbered(raid_id++);
        new_record(group, status);
    }
    EXPECT_EQ(NAS_SSD_OP_Test_Stop(nullptr, 0, SSD_OP_ALL_RECORDS, 0, 0, 1), 0);
    std::vector<int> statuses;
    for (int record_no = 1; record_no <= 6; ++record_no) statuses.push_back(status_of(record_no));
    EXPECT_THAT(statuses, ElementsAre(-1, 4, -1, -1, -2, 0));
    EXPECT_TRUE(appliance().traced("do_record_count: 3."));
    EXPECT_TRUE(appliance().traced("RAID(900) is nt exist.")) << "nothing is left to kill";
    EXPECT_EQ(messages().size(), 3U);
}

TEST_F(Stop, StartsTheServicesOnlyWhenItMay) {
    Groups groups(1, {0, 1});
    groups.numbered(900);
    struct Case {
        const char* what;
        int stop_service;
        bool started_up, shutting_down;
        int other_needs_them;
        bool starts;
    };
    for (const Case& scene : {Case{"as it is", 1, true, false, 0, true},
                              Case{"services were not stopped", 0, true, false, 0, false},
                              Case{"starting up", 1, false, false, 0, false},
                              Case{"shutting down", 1, true, true, 0, false},
                              Case{"another needs them stopped", 1, true, false, 1, false}}) {
        SCOPED_TRACE(scene.what);
        appliance().renew();
        ::unlink(kStartUpMark);
        ::unlink(kShutdownMark);
        if (scene.started_up) write_file(kStartUpMark, "");
        if (scene.shutting_down) write_file(kShutdownMark, "");
        const int record_no = new_record(groups, 2, scene.stop_service)->record_no;
        if (scene.other_needs_them) new_record(groups, 2, 1);
        EXPECT_EQ(NAS_SSD_OP_Test_Stop(nullptr, 0, record_no, 0, 0, 1), 0);
        EXPECT_EQ(appliance().journal().shows("Start_Services"), scene.starts);
    }
}

TEST_F(Stop, ForkedTheServicesAreLeftToAChild) {
    Groups groups(1, {0, 1});
    groups.numbered(900);
    const int record_no = new_record(groups, 2, 1)->record_no;
    const pid_t caller = ::getpid();
    const int result = NAS_SSD_OP_Test_Stop(nullptr, 1, record_no, 0, 0, 1);
    if (::getpid() != caller) std::_Exit(result == 0 ? 0 : 1);
    EXPECT_EQ(result, 0);
    ASSERT_EQ(children().size(), 1U);
    EXPECT_EQ(wait_for(children().front().pid), exited(0));
    const auto starts = appliance().journal().rows("Start_Services");
    ASSERT_EQ(starts.size(), 1U);
    EXPECT_NE(starts[0].pid, caller);
}

/// The driver is gone: killed at different moments, by a power cut or by somebody.
TEST_F(Stop, GivesBackWhatADeadDriverLeft) {
    struct Death {
        const char* call;
        When when;
    };
    for (const Death& death :
         {Death{"Disk_Read_Performance_Test", When::kBefore},
          Death{"NAS_Pool_Create", When::kBefore}, Death{"NAS_Pool_Create", When::kAfter},
          Death{"LV_Create", When::kAfter}, Death{"LV_Is_Exist", When::kBefore},
          Death{"LV_Destroy", When::kAfter}, Death{"RAID_Remove_Conf", When::kAfter}}) {
        SCOPED_TRACE(death.call);
        appliance().renew();
        plant_quick_test_script();
        appliance().failing("Disk_Write_Performance_Test", 0).failing("fio", 0);
        if (std::string(death.call) != "Disk_Read_Performance_Test")
            appliance().failing("Disk_Read_Performance_Test", 0);
        appliance().killing(death.call, Nth(1), death.when);
        Groups groups(1, {0, 1});
        if (std::string(death.call) == "RAID_Remove_Conf") {  // the first of two
            groups.add(1, {2, 3});
            appliance().failing("NAS_Pool_Create", -1);
        }
        ssd_op_test_param param = request(0, 20, 10);
        param.stop_service = 1;
        RunningEvaluation evaluation(groups, param);
        EXPECT_EQ(evaluation.driver().wait(), killed(SIGKILL));
        EXPECT_GT(evaluation.status(), 0) << "an orphan";

        appliance().healthy();
        const Stopped stopped = stop(evaluation, {.remove_storage = 1});
        EXPECT_EQ(stopped.result, 0) << appliance().journal();
        EXPECT_FALSE(appliance().traced("still exists")) << "nothing is left to wait for";
        EXPECT_EQ(evaluation.status(), SSD_OP_TEST_STATUS_STOPPED);
        EXPECT_THAT(appliance().volumes(), IsEmpty());
        EXPECT_THAT(appliance().pools(), IsEmpty());
        EXPECT_THAT(appliance().raid_groups(), IsEmpty());
        EXPECT_EQ(RAID_Is_Exist(800) | RAID_Is_Exist(801), 0);
        EXPECT_FALSE(exists("/tmp/cv_removing.tmp"));
        EXPECT_FALSE(death.when == When::kAfter && exists("/tmp/cv_initializing.tmp"));
        EXPECT_TRUE(appliance().service_runs("services"));
        expect_drives_are_free(appliance(), groups);
    }
}

TEST_F(Stop, KillsTheScriptOfADriverThatIsGoneAndKeepsItsSamples) {
    Groups groups(1, {0, 1});
    ssd_op_test_param param = request(0, 10, 10);
    param.test_size = 1000;
    RunningEvaluation evaluation(groups, param);
    ASSERT_TRUE(eventually([&] { return current_ratio(evaluation) == 10; }, 100'000));
    evaluation.driver().signal(SIGKILL);
    evaluation.driver().wait();
    EXPECT_TRUE(runs("SOPT.sh")) << "the script goes on without its driver";
    EXPECT_EQ(stop(evaluation, {.remove_storage = 1}).result, 0);
    EXPECT_THAT(appliance().volumes(), IsEmpty());
    const Record record = read_record(1);
    EXPECT_EQ(record->count, 1);
    EXPECT_GT(record->result_2[0], 0) << "the ratio that was done";
    EXPECT_GT(samples(1), 20);
    expect_drives_are_free(appliance(), groups);
}

TEST_F(Stop, WaitsAMinuteForGroupsOfAllRecordsTogether) {
    Groups first(1, {0, 1});
    first.numbered(900);
    make_storage(first);
    Groups second(1, {2, 3});
    second.numbered(901);
    make_storage(second);
    new_record(first, 2, 0);
    new_record(second, 2, 1);
    EXPECT_EQ(NAS_SSD_OP_Test_Stop(nullptr, 0, SSD_OP_ALL_RECORDS, 0, 0, 1), 0);
    EXPECT_TRUE(appliance().traced("still exists with sleep_count(59)."));
    EXPECT_FALSE(appliance().traced("still exists with sleep_count(60)."));
    const auto traced_groups = appliance().traced("RAID(900) still exists") !=
                               appliance().traced("RAID(901) still exists");
    EXPECT_TRUE(traced_groups) << "the minute was the first record's";
}

TEST_F(Stop, AnEmptyNameIsNoNameOfAnything) {
    Groups groups(1, {0, 1});
    groups.numbered(900);
    make_storage(groups);
    new_record(groups, SSD_OP_TEST_STATUS_INITIATING);
    Child fio([] { return exec_as("fio --filename=/dev/sdz"); });
    Child discard([] { return exec_as("/sbin/kblkdiscard /dev/sdz"); });
    ASSERT_TRUE(eventually([] { return runs("fio", "sdz") && runs("kblkdiscard", "sdz"); }));
    for (const char* call : {"PD_Get_Sys_Name", "Part_Get_Name", "LV_Get_Name"})
        appliance().failing(call, 0);  // leaves the name empty
    EXPECT_EQ(SSD_OP_Test_Stop(1, SSD_OP_STOP_BY_USER, 0, SSD_OP_TEST_STATUS_INITIATING, 0), 0);
    EXPECT_TRUE(fio.running() && discard.running());
    EXPECT_FALSE(appliance().journal().shows("Get_Command_Result", "/bin/ps"));
}

/// Numbers of groups are used again, and an ended record may still have a driver at work.
TEST_F(Stop, OfAnEndedRecordTakesNothingThatIsOthersOrInTheMaking) {
    const auto remove_remains_of = [](int record_no) {
        return SSD_OP_Test_Stop(record_no, SSD_OP_STOP_BY_USER, 1, SSD_OP_TEST_STATUS_STOPPED, 0);
    };
    const auto pool_without_volume = [](Groups& groups) {
        ASSERT_EQ(LV_Destroy(make_storage(groups)), 0);
    };
    ::mkfifo("/tmp/cv_initializing.tmp", 0666);  // planted by somebody: it holds nobody up

    // Its drives are all of the record's, and nothing is known of a driver; then it is gone.
    Groups own(1, {0, 1});
    own.numbered(900);
    pool_without_volume(own);
    new_record(own, SSD_OP_TEST_STATUS_STOPPED);
    EXPECT_EQ(remove_remains_of(1), 0);
    EXPECT_EQ(appliance().pools().size(), 1U);
    say_that_the_driver_is_gone(1);
    // A newer record has the number: the group is that one's.
    new_record(own, SSD_OP_TEST_STATUS_STOPPED);
    EXPECT_EQ(remove_remains_of(1), 0);
    EXPECT_EQ(appliance().pools().size(), 1U);
    say_that_the_driver_is_gone(2);
    EXPECT_EQ(remove_remains_of(2), 0);
    EXPECT_THAT(appliance().pools(), IsEmpty());

    // Somebody's group over other drives, with a volume or without.
    Groups others(1, {2, 3});
    others.numbered(900);
    const int lv_id = make_storage(others);
    EXPECT_EQ(remove_remains_of(2), 0);
    EXPECT_EQ(appliance().volumes().size(), 1U);
    ASSERT_EQ(LV_Destroy(lv_id), 0);
    EXPECT_EQ(remove_remains_of(2), 0);
    EXPECT_EQ(appliance().pools().size(), 1U);
    ::unlink("/tmp/cv_initializing.tmp");

    // A driver that makes the pool when its record is stopped.
    make_quick();
    appliance().holding("NAS_Pool_Create", Nth(1));
    Groups groups(1, {0, 1});
    RunningEvaluation evaluation(groups, request(0, 20, 10));
    ASSERT_TRUE(eventually([&] { return appliance().holds("NAS_Pool_Create"); }));
    SSD_OP_Test_Set_Status(evaluation.record_no(), SSD_OP_TEST_STATUS_STOPPED);
    remove_remains_of(evaluation.record_no());
    EXPECT_NE(RAID_Is_Exist(800), 0);
    EXPECT_TRUE(evaluation.driver().running());
    appliance().healthy();
    EXPECT_EQ(evaluation.driver().wait(), exited(1));
}

TEST_F(Stop, FindsWhatRunsAmongAnyNumberOfRecords) {
    ASSERT_EQ(SSD_OP_DB_Update_Max_Record_Limit(1000), 0);
    Groups groups(1, {0, 1});
    groups.numbered(900);
    new_record(groups, SSD_OP_TEST_STATUS_COMPLETED);
    change_database(appliance().database(),
                    "WITH RECURSIVE n(i) AS (SELECT 2 UNION ALL SELECT i + 1 FROM n WHERE i < 300) "
                    "INSERT INTO TEST_RECORD (record_no, status) SELECT i, 4 FROM n");
    const int record_no = new_record(groups, SSD_OP_TEST_STATUS_TESTING)->record_no;
    EXPECT_EQ(record_no, 301);
    EXPECT_EQ(NAS_SSD_OP_Test_Stop(nullptr, 0, SSD_OP_ALL_RECORDS, -1, 0, SSD_OP_STOP_BY_USER), 0);
    EXPECT_EQ(status_of(record_no), SSD_OP_TEST_STATUS_STOPPED);
}

TEST_F(Stop, AFailedRemovalIsReported) {
    Groups groups(1, {0, 1});
    groups.numbered(900);
    make_storage(groups);
    new_record(groups, 2, 0);
    appliance().failing("NAS_Pool_Remove", -5);
    EXPECT_LT(NAS_SSD_OP_Test_Stop(nullptr, 0, 1, 0, 1, 1), 0);
    EXPECT_TRUE(appliance().traced("[Record(1)] Fail to stop SSD OP testing."));
    EXPECT_EQ(status_of(1), SSD_OP_TEST_STATUS_STOPPED);
}

/// A program of the appliance replaced for a while.
class Replaced {
  public:
    Replaced(std::string path, const std::string& script) : path_(std::move(path)) {
        std::filesystem::rename(path_, path_ + ".own");
        write_file(path_, "#!/bin/bash\n" + script + "\n");
        std::filesystem::permissions(path_, std::filesystem::perms::owner_all);
    }
    Replaced(const Replaced&) = delete;
    Replaced& operator=(const Replaced&) = delete;
    ~Replaced() { std::filesystem::rename(path_ + ".own", path_); }

  private:
    std::string path_;
};

/// What the process list shows and which processes are killed for it.
class ProcessList : public ApplianceTest {
  protected:
    static constexpr const char* kPrograms[] = {"fio", nullptr};

    /// Kills nothing, and writes down which ids it was given.
    std::string killed_with(const std::string& list, const char* const programs[],
                            const char* term) {
        ::unlink("/tmp/killed");
        const Replaced ps("/bin/ps", "printf '" + list + "'");
        const Replaced kill("/bin/kill", "echo \"$2\" >>/tmp/killed; exit 1");
        result_ = ssd_op::evaluation::ssd_op_test_stop_progs(programs, term);
        return read_file("/tmp/killed");
    }
    static std::string times(int count, const std::string& text) {
        std::string all;
        while (count-- > 0) all += text;
        return all;
    }

    Child bystander_{[] { return ::pause(); }};
    int result_ = 0;
};

TEST_F(ProcessList, AProcessThatCannotBeKilledIsTriedTenTimes) {
    const std::string id = std::to_string(bystander_.pid());
    EXPECT_EQ(killed_with(id + " fio --filename=/dev/sda3\n", kPrograms, "/dev/sda"),
              times(10, id + "\n"));
    EXPECT_EQ(result_, 1);
}

TEST_F(ProcessList, AProcessThatDiedAfterTheListingIsNotKilled) {
    EXPECT_EQ(killed_with("4000000 fio --filename=/dev/sda3\n", kPrograms, "/dev/sda"), "");
    EXPECT_EQ(result_, 0);
    EXPECT_EQ(appliance().journal().count("Get_Command_Result", "/bin/ps"), 2);
}

TEST_F(ProcessList, LongerNamesAndNumbersAreOthers) {
    const std::string id = std::to_string(bystander_.pid());
    EXPECT_EQ(
        killed_with(id + " fio /dev/sdba\n" + id + " fio /dev/sdba3\n", kPrograms, "/dev/sdb"), "");
    EXPECT_EQ(killed_with(id + " fio /dev/sdba\n" + id + " fio /dev/sdb3\n", kPrograms, "/dev/sdb"),
              times(10, id + "\n"));
    EXPECT_EQ(killed_with(id + " fiona /dev/sdb\n", kPrograms, "/dev/sdb"), "");
    static constexpr const char* kStoppers[] = {"services.sh stop", nullptr};
    EXPECT_EQ(killed_with("1234 services.sh stop\n", kStoppers, "12"), "");
}

}  // namespace
