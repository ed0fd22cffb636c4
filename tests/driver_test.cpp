// One evaluation from the request to the completed record, and every way in which it can fail.

#include <cerrno>
#include <cstdlib>
#include <memory>

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include "support/appliance.h"
#include "support/evaluation.h"

namespace {
bool no_process_left = false;
}

/// Stands before the C library's, for a system that has no room for another process.
extern "C" __attribute__((visibility("default"))) pid_t fork() {
    static const auto real = reinterpret_cast<pid_t (*)()>(::dlsym(RTLD_NEXT, "fork"));
    if (!no_process_left) return real();
    errno = EAGAIN;
    return -1;
}

namespace {

using namespace support;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* kQuickScriptArguments = "/tmp/script_arguments";

/// The script is a quick one and the drives' measurements take no time: here it is the driver that
/// is tested.
class Driver : public ApplianceTest {
  protected:
    Driver() { plant(); }

    void plant() {
        ::unlink(kQuickScriptArguments);
        plant_quick_test_script("echo \"$@\" >" + std::string(kQuickScriptArguments));
        measure_at_once(appliance());
    }
    int evaluate(Groups& groups, int need_fork = 0) {
        return NAS_SSD_OP_Test_Start(nullptr, need_fork, groups.list(), &request_);
    }
    /// Evaluates in a child, so that the test can interfere.
    std::unique_ptr<Child> evaluating(Groups& groups) {
        return std::make_unique<Child>([&] { return evaluate(groups) > 0 ? 0 : 1; });
    }
    std::vector<std::string> messages() {
        std::vector<std::string> found;
        for (const Event& event : appliance().events()) found.push_back(event.description);
        return found;
    }
    void expect_storage_is_gone() {
        EXPECT_THAT(appliance().volumes(), IsEmpty());
        EXPECT_THAT(appliance().pools(), IsEmpty());
        EXPECT_THAT(appliance().raid_groups(), IsEmpty());
    }
    /// A run that failed by itself: the record says so and the closing steps were taken.
    void expect_failed_and_closed(int record_no) {
        const Record record = read_record(record_no);
        ASSERT_EQ(record->record_no, record_no);
        EXPECT_EQ(record->status, SSD_OP_TEST_STATUS_FAILED);
        EXPECT_GT(record->end_time, 0);
        EXPECT_EQ(record->count, 3) << "results are captured in any case";
        expect_storage_is_gone();
    }
    bool reaches(int record_no, int status) {
        return eventually([&] { return status_of(record_no) == status; });
    }

    ssd_op_test_param request_ = request(0, 20, 10);
};

TEST_F(Driver, RunsAWholeEvaluationInTheForeground) {
    SSD_OP_Test_Set_User_Agreement(1);
    request_ = request(5, 20, 5, "it's \"50% $HOME\"");
    request_.test_type = SSD_OP_TEST_TYPE_ALL;
    request_.stop_service = 1;
    request_.min_iops = 7;
    request_.abort_time = 99;
    Groups groups(5, {0, 1, 2});
    const ssd_op_requester requester{"", "10.0.0.7", "anna"};
    const int record_no = NAS_SSD_OP_Test_Start(&requester, 0, groups.list(), &request_);
    ASSERT_EQ(record_no, 1) << appliance().journal();

    const Record record = read_record(record_no);
    EXPECT_EQ(record->status, SSD_OP_TEST_STATUS_COMPLETED);
    EXPECT_STREQ(record->title, request_.title);
    EXPECT_GE(record->end_time, record->start_time);
    ASSERT_EQ(record->count, 4);
    EXPECT_EQ(record->percentage[3], 20);
    EXPECT_EQ(record->result_1[3], 1020.5L);
    EXPECT_EQ(record->result_2[3], 2020.25L);
    EXPECT_EQ(groups[0].raid_id, 800);
    EXPECT_EQ(
        read_file(kQuickScriptArguments),
        "/dev/mapper/lv1568 all 5 20 5 1 " + std::to_string(record->test_size) + "M 7 99 0\n");

    int progress = 0;
    EXPECT_EQ(SSD_OP_Test_Get_Step_Progress(record_no, &progress), 0);
    int op_count = 0;
    EXPECT_EQ(SSD_OP_Test_Get_OP_Count(record_no, nullptr, &op_count), 0);
    EXPECT_EQ(op_count, 4);
    expect_storage_is_gone();
    EXPECT_TRUE(appliance().service_runs("services"));
    EXPECT_EQ(appliance().uploads().size(), 2U) << "one event sent, one flush";
    const auto events = appliance().events();
    ASSERT_EQ(events.size(), 5U) << ::testing::PrintToString(messages());
    EXPECT_EQ(events.front().user, "anna");
    EXPECT_THAT(events.front().description, HasSubstr(request_.title));
    EXPECT_TRUE(appliance().journal().shows_in_order({"Ini_Conf_Bitmap_Set_Bit", "kblkdiscard",
                                                      "NAS_Pool_Create", "LV_Create", "LV_Destroy",
                                                      "NAS_Pool_Remove", "Start_Services"}));
}

TEST_F(Driver, ForkedTheCallerGetsTheRecordAtOnceAndTheChildTheResult) {
    Groups groups(1, {0, 1});
    const pid_t caller = ::getpid();
    const int result = evaluate(groups, 1);
    if (::getpid() != caller) std::_Exit(result == 1 ? 0 : 1);
    ASSERT_EQ(result, 1);
    EXPECT_EQ(status_of(1), SSD_OP_TEST_STATUS_INITIATING);
    const auto driver = children();
    ASSERT_EQ(driver.size(), 1U);
    EXPECT_EQ(wait_for(driver.front().pid), exited(0));
    EXPECT_EQ(status_of(1), SSD_OP_TEST_STATUS_COMPLETED);
}

TEST_F(Driver, WithoutAProcessForItTheRecordIsFailedAtOnce) {
    Groups groups(1, {0, 1});
    no_process_left = true;
    const int result = evaluate(groups, 1);
    no_process_left = false;
    EXPECT_EQ(result, -1);
    EXPECT_EQ(status_of(1), SSD_OP_TEST_STATUS_FAILED);
    EXPECT_GT(read_record(1)->end_time, 0);
    EXPECT_EQ(messages().size(), 2U) << "started, failed";
    EXPECT_TRUE(appliance().journal().shows("RAID_Is_Exist"));
    EXPECT_FALSE(appliance().journal().shows("kblkdiscard"));
}

TEST_F(Driver, RefusesWhatDoesNotFitBeforeAnythingIsMade) {
    const auto refuses = [&](Groups& groups, const ssd_op_test_param& bad, int expected) {
        request_ = bad;
        EXPECT_EQ(evaluate(groups), expected);
        EXPECT_FALSE(appliance().journal().shows("Ini_Conf_Bitmap_Set_Bit"));
        EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), 0);
    };
    Groups good(5, {0, 1, 2});
    Groups bad_level(6, {0, 1, 2});
    Groups none;
    refuses(bad_level, request(0, 20, 10), -13);
    refuses(none, request(0, 20, 10), -13);
    refuses(good, request(0, 100, 5), -1);  // 21 ratios
    EXPECT_TRUE(appliance().traced("The request is refused: more than 20 OP ratios!"));
    refuses(good, request(-10, 20, 5), -1);
    good[0].raid_level = 0;
    good[0].drive_num = 66;
    refuses(good, request(0, 20, 10), -1);
    EXPECT_EQ(NAS_SSD_OP_Test_Start(nullptr, 0, good.list(), nullptr), -1);
}

TEST_F(Driver, LeavesItToTheScriptToRefuseRatiosThatLeadNowhere) {
    Groups groups(5, {0, 1, 2});
    for (const ssd_op_test_param& bad : {request(0, 20, 0), request(20, 0, 5)}) {
        appliance().renew();
        measure_at_once(appliance());
        plant_test_script("echo \"$@\" >" + std::string(kQuickScriptArguments) + "; exit 2");
        request_ = bad;
        EXPECT_EQ(evaluate(groups), -1);
        EXPECT_THAT(read_file(kQuickScriptArguments),
                    HasSubstr(bad.min_op == 0 ? " 0 20 0 1 " : " 20 0 5 1 "));
        EXPECT_EQ(status_of(1), SSD_OP_TEST_STATUS_FAILED);
        expect_storage_is_gone();
    }
}

/// The database cannot be written for a while, from a moment on: nothing is reported of a status
/// that it does not have, and it has the last word when it can be written again.
TEST_F(Driver, AStatusThatCannotBeWrittenIsNeitherReportedNorLost) {
    const auto forbid = [&](const char* from, const char* to) {
        const std::string trigger = from == nullptr
                                        ? "DROP TRIGGER forbidden"
                                        : std::string(
                                              "CREATE TRIGGER forbidden BEFORE UPDATE OF status ON "
                                              "TEST_RECORD WHEN old.status=") +
                                              from + " AND new.status=" + to +
                                              " BEGIN SELECT RAISE(ABORT, 'forbidden'); END";
        change_database(appliance().database(), trigger);
    };
    struct Case {
        const char *from, *to;
        int ends_as;
        const char* never;
    };
    for (const Case& lost : {Case{"0", "1", SSD_OP_TEST_STATUS_FAILED, "ompleted"},
                             Case{"1", "2", SSD_OP_TEST_STATUS_FAILED, "ompleted"},
                             Case{"2", "3", SSD_OP_TEST_STATUS_FAILED, "ompleted"}}) {
        SCOPED_TRACE(lost.from);
        appliance().renew();
        plant();
        SSD_OP_DB_Query_Record_Count();  // there is a database
        forbid(lost.from, lost.to);
        Groups groups(1, {0, 1});
        EXPECT_EQ(evaluate(groups), -1);
        EXPECT_EQ(status_of(1), lost.ends_as);
        EXPECT_THAT(messages(), Not(Contains(HasSubstr(lost.never))));
        EXPECT_GT(read_record(1)->end_time, 0);
        expect_storage_is_gone();
    }

    // The last one is waited for.
    appliance().renew();
    plant();
    SSD_OP_DB_Query_Record_Count();
    forbid("3", "4");
    Groups groups(1, {0, 1});
    auto run = evaluating(groups);
    ASSERT_TRUE(eventually([&] { return appliance().traced("Fail to execute sql(update)"); }));
    EXPECT_EQ(status_of(1), SSD_OP_TEST_STATUS_FINISHING);
    forbid(nullptr, nullptr);
    EXPECT_EQ(run->wait(), exited(0));
    EXPECT_EQ(status_of(1), SSD_OP_TEST_STATUS_COMPLETED);
    EXPECT_EQ(messages().size(), 4U) << "started, made, removed, completed";
}

TEST_F(Driver, ReservesTheNextFreeRaidIdsAndKeepsGivenOnes) {
    appliance().with([](appliance::Blueprint& blueprint) {
        blueprint.drives = 6;
        blueprint.reserved_raid_ids = {801};
    });
    plant();
    appliance().failing("kblkdiscard", 1);  // far enough
    Groups groups(1, {0, 1});
    groups.add(1, {2, 3}).add(1, {4, 5});
    groups[1].raid_id = 850;
    groups[1].flags = RAID_FLAG_ID_RESERVED;
    request_ = request(10, 10, 0);
    EXPECT_EQ(evaluate(groups), -1);
    EXPECT_EQ(groups[0].raid_id, 800);
    EXPECT_EQ(groups[1].raid_id, 850);
    EXPECT_EQ(groups[2].raid_id, 802);
    EXPECT_EQ(request_.interval, 1);
    EXPECT_TRUE(appliance().journal().shows("Ini_Conf_Bitmap_Set_Bit", Times(2)));
}

TEST_F(Driver, EndsWithoutARecordWhenIdsOrDrivesAreMissing) {
    Groups groups(1, {0, 1});
    appliance().failing("Ini_Conf_Bitmap_Get_Next_Free_Bit", -1);
    EXPECT_EQ(evaluate(groups), -1);
    EXPECT_TRUE(appliance().traced("Cannot get available RAID ID!"));
    EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), 0);

    appliance().healthy();
    Groups absent(1, {0, 9});
    EXPECT_EQ(evaluate(absent), -1);
    EXPECT_TRUE(appliance().traced("Failed to new record or record number is different"));
    EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), 0);
    EXPECT_TRUE(appliance().journal().shows("RAID_Is_Exist"));
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Driver, AFailedPhaseFailsTheRecordAndTheRestIsClosed) {
    Groups groups(5, {0, 1, 2});

    appliance().failing("kblkdiscard", Nth(2), 1);
    EXPECT_EQ(evaluate(groups), -1);
    EXPECT_TRUE(appliance().traced("Block discard is not supported on /dev/"));
    expect_failed_and_closed(1);
    EXPECT_FALSE(appliance().journal().shows("NAS_Pool_Create"));

    appliance().renew();
    plant();
    appliance().failing("NAS_Pool_Create", -1);
    EXPECT_EQ(evaluate(groups), -1);
    EXPECT_TRUE(appliance().traced("Fail to create test storage!"));
    expect_failed_and_closed(1);
    EXPECT_EQ(request_.lv_id, -15);

    appliance().renew();
    plant();
    plant_test_script("exit 3");
    EXPECT_EQ(evaluate(groups), -1);
    EXPECT_TRUE(appliance().traced("Fail to test SSD OP!"));
    expect_failed_and_closed(1);
    EXPECT_THAT(messages(), Contains(HasSubstr("800")));

    appliance().renew();
    plant();
    plant_test_script("exit 254");
    EXPECT_EQ(evaluate(groups), -1);
    EXPECT_THAT(messages(), Contains(HasSubstr("20%"))) << "the ratio that was given up";
    expect_failed_and_closed(1);
}

TEST_F(Driver, AStopKeepsItsStatusWhereverItArrives) {
    Groups groups(1, {0, 1});
    appliance().holding("Disk_Read_Performance_Test", Nth(2));
    auto run = evaluating(groups);
    ASSERT_TRUE(eventually([&] { return appliance().holds("Disk_Read_Performance_Test"); }));
    SSD_OP_Test_Set_Status(1, SSD_OP_TEST_STATUS_STOPPED);
    appliance().healthy();
    EXPECT_EQ(run->wait(), exited(1));
    EXPECT_EQ(status_of(1), SSD_OP_TEST_STATUS_STOPPED);
    EXPECT_TRUE(appliance().traced("Record(1)] status[1]: -1"));
    EXPECT_FALSE(exists(kQuickScriptArguments));

    appliance().renew();
    plant();
    plant_test_script("exec sleep 86400");
    run = evaluating(groups);
    ASSERT_TRUE(reaches(1, SSD_OP_TEST_STATUS_TESTING));
    SSD_OP_Test_Set_Status(1, SSD_OP_TEST_STATUS_STOPPED);
    const auto script = [&] {
        pid_t found = 0;
        for (const ProcessInfo& process : processes()) {
            if (process.command.starts_with("sleep 86400")) found = process.pid;
        }
        return found;
    };
    ASSERT_TRUE(eventually([&] { return script() != 0; }));
    ::kill(script(), SIGKILL);
    EXPECT_EQ(run->wait(), exited(1));
    EXPECT_EQ(status_of(1), SSD_OP_TEST_STATUS_STOPPED);
    EXPECT_TRUE(appliance().traced("Record(1)] status[2]: -1"));
    expect_storage_is_gone();
}

TEST_F(Driver, ResultsThatCannotBeStoredFailTheRunButNotTheRecord) {
    Groups groups(1, {0, 1});
    plant_test_script("while [ ! -e /tmp/go_on ]; do sleep 1; done");
    auto run = evaluating(groups);
    ASSERT_TRUE(reaches(1, SSD_OP_TEST_STATUS_TESTING));
    change_database(appliance().database(), "DROP TABLE TEST_DATA");
    write_file("/tmp/go_on", "");
    EXPECT_EQ(run->wait(), exited(1));
    EXPECT_TRUE(appliance().traced("Fail to save test result!"));
    EXPECT_EQ(status_of(1), SSD_OP_TEST_STATUS_COMPLETED);
    expect_storage_is_gone();
}

TEST_F(Driver, ARemovalThatFailsOnceIsTriedAgain) {
    Groups groups(1, {0, 1});
    appliance().failing("LV_Destroy", Nth(1), -1);
    const int record_no = evaluate(groups);
    EXPECT_EQ(record_no, 1);
    EXPECT_TRUE(appliance().traced("Fail to remove test storage 1st time!"));
    EXPECT_TRUE(appliance().journal().shows("LV_Destroy", Times(2)));
    expect_storage_is_gone();

    appliance().renew();
    plant();
    appliance().failing("LV_Destroy", -1);
    EXPECT_EQ(evaluate(groups), 1) << "storage that stays does not spoil the results";
    EXPECT_TRUE(appliance().traced("Fail to remove test storage 2nd time!"));
    EXPECT_EQ(status_of(1), SSD_OP_TEST_STATUS_COMPLETED);
    EXPECT_EQ(appliance().volumes().size(), 1U);
    EXPECT_EQ(messages().size(), 3U) << ::testing::PrintToString(messages());
}

TEST_F(Driver, ServicesStartAgainWithTheLastThatStoppedThem) {
    appliance().with_drives(4);
    plant();
    Groups others(1, {2, 3});
    others.numbered(900);
    const int other = new_record(others, SSD_OP_TEST_STATUS_TESTING, 1)->record_no;
    Groups groups(1, {0, 1});
    request_.stop_service = 1;
    EXPECT_GT(evaluate(groups), 0);
    EXPECT_FALSE(appliance().journal().shows("Start_Services"));
    SSD_OP_Test_Set_Status(other, SSD_OP_TEST_STATUS_COMPLETED);
    Groups again(1, {0, 1});
    EXPECT_GT(evaluate(again), 0);
    EXPECT_TRUE(appliance().journal().shows("Start_Services", Times(1)));
}

/// Each of two has looked while the other was not done yet.
TEST_F(Driver, ServicesStartAgainWhenTwoFinishTogether) {
    Groups others(1, {2, 3});
    others.numbered(900);
    const int other = new_record(others, SSD_OP_TEST_STATUS_FINISHING, 1)->record_no;
    Groups groups(1, {0, 1});
    request_.stop_service = 1;
    SSD_OP_Test_Set_User_Agreement(1);
    appliance().slow("kanalytic_tool", Nth(1), 1000);
    const auto evaluation = evaluating(groups);
    EXPECT_TRUE(eventually([&] { return read_record(other + 1)->end_time != 0; }));
    SSD_OP_Test_Set_Status(other, SSD_OP_TEST_STATUS_COMPLETED);
    EXPECT_EQ(evaluation->wait(), exited(0));
    EXPECT_TRUE(appliance().journal().shows("Start_Services", Times(1)));
}

TEST_F(Driver, TakesNothingFromARequestThatServedBefore) {
    Groups others(1, {2, 3});
    others.numbered(900);
    request_.lv_id = make_storage(others);
    std::snprintf(request_.log_prefix, sizeof request_.log_prefix, "/tmp/others_");
    write_file("/tmp/others_report.csv", "OP_0%, 1, 2\n");
    Groups groups(1, {0, 1});
    appliance().failing("kblkdiscard", 1);
    EXPECT_EQ(evaluate(groups), -1);
    EXPECT_EQ(appliance().volumes().size(), 1U);
    EXPECT_TRUE(exists("/tmp/others_report.csv"));
    EXPECT_EQ(read_record(1)->result_2[0], 0.0L);
}

TEST_F(Driver, TwoEvaluationsRunAtOnceOnDifferentDrives) {
    appliance().with_drives(4);
    plant();
    Groups first(1, {0, 1});
    Groups second(1, {2, 3});
    const auto one = evaluating(first);
    const auto two = evaluating(second);
    EXPECT_EQ(one->wait(), exited(0));
    EXPECT_EQ(two->wait(), exited(0));
    for (const int record_no : {1, 2}) {
        EXPECT_EQ(status_of(record_no), SSD_OP_TEST_STATUS_COMPLETED);
        EXPECT_EQ(read_record(record_no)->result_2[1], 2010.25L);
    }
    EXPECT_EQ(appliance().sql_value("SELECT COUNT(DISTINCT raid_id) FROM RAID_GROUP"), "2");
    expect_storage_is_gone();
}

/// Killed while it holds the locks, in the middle of a record, of a measurement, of storage that is
/// made or removed: the database is whole and other drives can be evaluated at once.
TEST_F(Driver, KilledAtAnyPhaseItLeavesAWorkingAppliance) {
    struct Phase {
        const char* call;
        int nth;
        When when;
    };
    for (const Phase& phase :
         {Phase{"RAID_ID_Is_Reserved", 1, When::kBefore}, Phase{"PD_Is_Exist", 2, When::kBefore},
          Phase{"Disk_Read_Performance_Test", 1, When::kBefore},
          Phase{"NAS_Pool_Create", 1, When::kAfter}, Phase{"LV_Create", 1, When::kAfter},
          Phase{"LV_Is_Exist", 1, When::kBefore}, Phase{"LV_Destroy", 1, When::kAfter}}) {
        SCOPED_TRACE(phase.call);
        appliance().renew();
        appliance().with_drives(4);
        plant();
        appliance().healthy().killing(phase.call, Nth(phase.nth), phase.when);
        if (std::string(phase.call) != "Disk_Read_Performance_Test") measure_at_once(appliance());
        Groups groups(1, {0, 1});
        EXPECT_EQ(evaluating(groups)->wait(), killed(SIGKILL));

        appliance().healthy();
        measure_at_once(appliance());
        if (!appliance().database().empty()) {
            EXPECT_EQ(appliance().sql_value("PRAGMA integrity_check"), "ok");
        }
        Groups others(1, {2, 3});
        const int record_no = evaluate(others);
        EXPECT_GT(record_no, 0);
        EXPECT_EQ(status_of(record_no), SSD_OP_TEST_STATUS_COMPLETED);
    }
}

}  // namespace
