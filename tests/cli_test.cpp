#include <set>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <signal.h>

#include "ssd_op.h"
#include "support/appliance.h"
#include "support/evaluation.h"
#include "support/state.h"

namespace {

using namespace support;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

class CommandLine : public ApplianceTest {
  protected:
    static Outcome run(const std::string& arguments) {
        return shell("/opt/appliance/bin/ssd-op " + arguments);
    }

    static json parsed(const std::string& arguments) {
        const Outcome result = run(arguments + " --json");
        EXPECT_EQ(result.status, 0) << result.output;
        return json::parse(result.output, nullptr, false);
    }

    /// A record over drives named by position, with this status.
    static int make_record(const std::vector<int>& drives, int status) {
        Groups groups(1, drives);
        groups.numbered(800);
        return new_record(groups, status)->record_no;
    }

    void expect_nothing_done() {
        static const std::set<std::string> kHarmless = {"PD_Enumerate",
                                                        "PD_Get_Info",
                                                        "PD_Get_Sys_Name",
                                                        "PD_Get_Log_Name",
                                                        "PD_Get_Write_Speed",
                                                        "PD_Get_Write_IOPS",
                                                        "PD_Is_Exist",
                                                        "Part_Is_Exist_V2",
                                                        "Part_Get_Info",
                                                        "RAID_Get_Id_By_Drive",
                                                        "Pool_Get_Id_By_Member_Id",
                                                        "Is_BRIX_Installed",
                                                        "GetPrivateProfileString",
                                                        "Ini_Conf_Get_Field",
                                                        "Ini_Conf_Read_Lock_File",
                                                        "Ini_Conf_Unlock_File",
                                                        "Check_Default_Share_in_All_Vol",
                                                        "Volume_Is_Mount"};
        const Journal journal = appliance().journal();
        for (const JournalRow& row : journal.rows())
            EXPECT_TRUE(kHarmless.contains(row.name)) << row;
        EXPECT_EQ(appliance().database(), "");
    }
};

TEST_F(CommandLine, RefusesWhatBreaksARuleAndNamesIt) {
    appliance().with([](auto& blueprint) {
        blueprint.drives = 5;
        blueprint.others[4].flags = 0;
    });
    struct {
        const char* arguments;
        int status;
        const char* says;
    } const cases[] = {
        {"--raid 6 --drives sda,sdb,sdc", 3, "Three drives can be RAID 0 or 5."},
        {"--raid 5 --drives sda,sdb", 3, "Two drives can be RAID 0 or 1."},
        {"--raid 5 --drives sda", 3, "One drive can be a single drive: --raid single."},
        {"--raid 1 --drives sda,sdb,sdc,sdd", 3, "can be RAID 0, 5, 6 or 10."},
        {"--raid 7 --drives sda,sdb,sdc", 3, "There is no RAID level \"7\""},
        {"--raid 5 --drives sda,sdb,/dev/sda", 3, "is named twice"},
        {"--raid 1 --drives sda,sde", 3, "/dev/sde (Disk 5, NS510-64, serial number"},
        {"--raid 1 --drives sda,sdz", 4, "There is no drive \"sdz\""},
        {"--raid 1 --drives sda,sdb --interval 1", 3, "41 ratios; a record holds 20"},
        {"--raid 1 --drives sda,sdb --interval 0", 3, "An interval of 0"},
        {"--raid 1 --drives sda,sdb --interval -5", 3, "An interval of -5"},
        {"--raid 1 --drives sda,sdb --max-op 100", 3, "100 % is not possible"},
        {"--raid 1 --drives sda,sdb --min-op -1", 3, "-1 % is not possible"},
        {"--raid 1 --drives sda,sdb --min-op 50", 3, "--min-op 50 is above --max-op 40"},
        {"--raid 1 --drives sda,sdb --sequential --all", 2, "excludes"},
        {"--raid 1 --drives sda,sdb --min-op x", 2, "min-op"},
        {"--raid 1 --drives sda,sdb --test-size -5", 2, "-5 is negative"},
        {"--raid 1 --drives sda,sdb --min-iops -1", 2, "-1 is negative"},
        {"--raid 1 --drives sda,sdb --min-iops 1000000000000000", 3, "beyond what any drive does"},
        {"--raid 1 --drives sda,sdb --abort-time -1", 2, "-1 is negative"},
        {"--raid 1 --drives sda,sdb --test-size 18446744073709551615", 3, "than the volume has"},
        {"--raid 1", 2, "--drives is required"},
    };
    for (const auto& refused : cases) {
        const Outcome result = run(std::string("start --yes ") + refused.arguments);
        EXPECT_EQ(result.status, refused.status) << refused.arguments << '\n' << result.output;
        EXPECT_THAT(result.output, HasSubstr(refused.says)) << refused.arguments;
    }
    const Outcome title =
        run("start --yes --raid 1 --drives sda,sdb --title " + std::string(256, 't'));
    EXPECT_EQ(title.status, 3) << title.output;
    expect_nothing_done();
}

TEST_F(CommandLine, RefusesDrivesThatAreInUse) {
    appliance().with_drives(6);
    const int older = make_record({0, 1}, SSD_OP_TEST_STATUS_TESTING);
    make_record({2, 3}, SSD_OP_TEST_STATUS_FINISHING);
    make_record({4, 5}, SSD_OP_TEST_STATUS_COMPLETED);
    const Outcome in_evaluation = run("start --yes --raid 1 --drives \"Disk 2,sde\"");
    EXPECT_EQ(in_evaluation.status, 3);
    EXPECT_THAT(in_evaluation.output,
                HasSubstr("is in evaluation " + std::to_string(older) + ", which has not ended"));
    EXPECT_EQ(run("start --dry-run --raid 1 --drives sde,sdf").status, 0);

    Groups groups(1, {4, 5});
    groups.numbered(5);
    make_storage(groups);
    const Outcome in_pool = run("start --yes --raid 1 --drives sde,sdf");
    EXPECT_EQ(in_pool.status, 3);
    EXPECT_THAT(in_pool.output, HasSubstr("(RAID group 5)"));
}

TEST_F(CommandLine, DoesNotStartUnconfirmedOrWithoutTheAddOn) {
    const Outcome unasked = run("start --raid 5 --drives sda,sdb,sdc,sdd");
    EXPECT_EQ(unasked.status, 5);
    EXPECT_THAT(unasked.output, HasSubstr("ALL DATA ON THESE 4 DRIVES WILL BE LOST."));
    EXPECT_THAT(unasked.output, HasSubstr("Add --yes once you are sure."));
    expect_nothing_done();

    appliance().with([](auto& blueprint) { blueprint.addon_installed = false; });
    EXPECT_THAT(run("start --yes --raid 5 --drives sda,sdb,sdc,sdd").output,
                HasSubstr("not installed"));
    EXPECT_FALSE(appliance().journal().shows("kblkdiscard"));
}

TEST_F(CommandLine, TellsInADryRunWhatItWouldCostAndDoesNothing) {
    const Outcome dry =
        run("start --dry-run --raid 5 --drives sda,sdb,sdc,sdd --min-op 10 --max-op 20");
    EXPECT_EQ(dry.status, 0);
    EXPECT_THAT(dry.output, HasSubstr("Disk 1  /dev/sda  NS510-64  NW24"));
    EXPECT_THAT(dry.output, HasSubstr("It takes about"));
    const json plan = parsed(
        "start --dry-run --raid 5 --drives 'Disk 1, Disk 2, sdc ,sdd' --max-op 50 "
        "--interval 50 --all --min-iops 100 --abort-time 2147483647");
    EXPECT_EQ(plan["test_type"], "all");
    EXPECT_EQ(plan["min_iops"], 100);
    EXPECT_GT(plan["longest_seconds"], 600) << "an abort time beyond all that it takes";
    EXPECT_EQ(plan["ratios"].size(), 2U);
    EXPECT_EQ(plan["ratios"][1]["usable_bytes"],
              plan["ratios"][0]["usable_bytes"].get<uint64_t>() / 2);
    EXPECT_LT(plan["shortest_seconds"], plan["longest_seconds"]);
    EXPECT_EQ(plan["time_basis"], "capacity");
    EXPECT_GT(plan["possible_time"]["longest_seconds"], plan["longest_seconds"]);
    expect_nothing_done();
}

TEST_F(CommandLine, TellsTheTimeAfterWhatIsKnownOfTheDrives) {
    const auto longest = [](const std::string& drives, const char* basis) {
        const json plan = parsed("start --dry-run --raid 1 --drives " + drives);
        EXPECT_EQ(plan["time_basis"], basis);
        EXPECT_EQ(plan["possible_time"], nullptr);
        return plan["longest_seconds"].get<int>();
    };
    ASSERT_EQ(std::system("echo '[PhysicalDisk_1]\nwrite_speed = 90000000\nwrite_iops = 9000\n"
                          "[PhysicalDisk_2]\nwrite_speed = 90000000\nwrite_iops = 9000' "
                          ">/etc/enclosure_1.conf"),
              0);
    const int slow = longest("sda,sdb", "figures");
    const int record = make_record({2, 3}, SSD_OP_TEST_STATUS_STOPPED);
    SSD_OP_DB_Update_Record_LV_Size(60'000, record);
    ASSERT_EQ(SSD_OP_DB_Update_Test_Result(record, 0, 1.5, 10'000), 0);
    const int after_record = longest("sda,sdb", "record");
    EXPECT_LT(after_record, slow) << "other drives of their model";

    const int cut_short = make_record({0, 1}, SSD_OP_TEST_STATUS_STOPPED);
    SSD_OP_DB_Update_Record_LV_Size(60'000, cut_short);
    write_file("/tmp/rounds", "1000, 40000, 1, 0, 80\n");
    ASSERT_EQ(SSD_OP_DB_Update_Test_Result(cut_short, 0, 1.5, 40'000), 0);
    ASSERT_EQ(SSD_OP_DB_Update_Runtime_Report(cut_short, 0, "/tmp/rounds", 0), 0);
    EXPECT_EQ(longest("sda,sdb", "record"), after_record) << "one round is no steady rate";
}

TEST_F(CommandLine, FollowsAnEvaluationToItsEndAndShowsIt) {
    plant_quick_test_script();
    ASSERT_EQ(run("consent yes").status, 0);
    const Outcome start =
        run("start --yes --foreground --raid 5 --drives sda,sdb,sdc,sdd --max-op 20 "
            "--title $'a \\e[31m \"title\"'");
    EXPECT_EQ(start.status, 0) << start.output;
    EXPECT_THAT(start.output, HasSubstr("100 %  completed"));
    EXPECT_THAT(start.output, Not(HasSubstr("\x1b")));

    const json record = parsed("show 1");
    EXPECT_EQ(record["status"], "completed");
    EXPECT_EQ(record["title"], "a \x1b[31m \"title\"");
    ASSERT_EQ(record["results"].size(), 3U);
    EXPECT_EQ(record["results"][1]["op"], 10);
    EXPECT_EQ(record["results"][1]["iops"], 2010.25);
    EXPECT_NEAR(record["results"][1]["gain_percent"].get<double>(), 0.5, 0.01);
    EXPECT_EQ(record["groups"][0]["drives"].size(), 4U);

    const Outcome shown = run("show 1");
    EXPECT_THAT(shown.output, HasSubstr("Gain over OP 0"));
    EXPECT_THAT(shown.output, Not(HasSubstr("\x1b")));
    EXPECT_EQ(parsed("list")[0]["record"], 1);
    EXPECT_EQ(parsed("status"), json::array()) << "nothing runs";
    EXPECT_EQ(parsed("status 1")["percent"], 100);
    EXPECT_EQ(parsed("drives")[0]["free"], true);
    EXPECT_EQ(parsed("consent")["consent"], true);
    EXPECT_THAT(parsed("events").back()["description"].get<std::string>(), HasSubstr("Completed"));
    EXPECT_EQ(parsed("db where")["location"], "data volume");

    const Outcome unknown = run("show 7");
    EXPECT_EQ(unknown.status, 4);
    EXPECT_THAT(unknown.output, HasSubstr("There is one: 1."));
}

TEST_F(CommandLine, FailsWhenTheEvaluationFailsAndNoticesThatItBrokeOff) {
    plant_quick_test_script();
    const std::string start = "start --yes --foreground --raid 5 --drives sda,sdb,sdc,sdd";
    appliance().failing("kblkdiscard", 1);
    const Outcome failed = run(start);
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.output, HasSubstr("Evaluation 1 failed."));

    appliance().healthy().killing("NAS_Pool_Create", Nth(1));
    const Outcome broken = run(start);
    EXPECT_EQ(broken.status, 1);
    EXPECT_THAT(broken.output, HasSubstr("Evaluation 2 broke off while it was initiating"));
    EXPECT_EQ(parsed("status").size(), 1U);
}

/// An evaluation in the background whose test script says "testing" and waits.
class Running : public CommandLine {
  protected:
    Running() {
        appliance().with_drives(2);
        plant_test_script("sleep 100000");
        EXPECT_EQ(run("start --yes --raid 1 --drives sda,sdb --stop-services").status, 0);
        EXPECT_TRUE(eventually([] { return status_of(1) == SSD_OP_TEST_STATUS_TESTING; }));
    }
    ~Running() override { end_what_runs(); }

    static void kill_driver() {
        // The only process of this name: it runs without arguments.
        for (const ProcessInfo& process : processes()) {
            if (process.command.starts_with("/opt/appliance/bin/ssd-op"))
                ::kill(process.pid, SIGKILL);
        }
        EXPECT_TRUE(eventually([] { return parsed("status 1")["broken_off"] == true; }));
    }

    void expect_all_given_back() {
        EXPECT_TRUE(appliance().volumes().empty());
        EXPECT_TRUE(appliance().service_runs("services"));
        EXPECT_EQ(parsed("drives")[0]["free"], true);
        EXPECT_EQ(run("start --dry-run --raid 1 --drives sda,sdb").status, 0);
    }
};

TEST_F(Running, IsRefusedDeletionAndEndsOnlyWhenStopped) {
    for (const char* refused : {"delete 1 --yes", "delete --all --yes", "db upgrade --yes"}) {
        const Outcome result = run(refused);
        EXPECT_EQ(result.status, 3) << refused << '\n' << result.output;
        EXPECT_THAT(result.output, HasSubstr("Stop it first: ssd-op stop 1")) << refused;
    }
    const Outcome left = run("watch & sleep 600; kill -INT $!; wait $!");
    EXPECT_EQ(left.status, 7) << left.output;
    EXPECT_THAT(left.output, HasSubstr("Evaluation 1 goes on."));
    EXPECT_EQ(status_of(1), SSD_OP_TEST_STATUS_TESTING);

    const Outcome stopped =
        run("stop & /opt/appliance/bin/ssd-op watch 1; code=$?; wait; exit $code");
    EXPECT_EQ(stopped.status, 6) << stopped.output;
    EXPECT_THAT(stopped.output, HasSubstr("Evaluation 1 is stopped."));
    EXPECT_THAT(stopped.output, HasSubstr("\n40 %     -"));
    expect_all_given_back();
    EXPECT_EQ(run("stop 1").status, 3);
    EXPECT_THAT(run("stop 1").output, HasSubstr("it is stopped"));
    EXPECT_EQ(parsed("status 1")["percent"], nullptr);
    EXPECT_THAT(run("watch 1 --json").output, HasSubstr("\"percent\":null"));
}

TEST_F(Running, WithoutItsDriverIsCalledBrokenOffAndGivesAllBackWhenStopped) {
    kill_driver();
    EXPECT_THAT(run("status").output, HasSubstr("It broke off: its process is gone"));
    EXPECT_THAT(run("status").output, Not(HasSubstr(" left")));
    EXPECT_THAT(run("list").output, HasSubstr("1  broken off  "));
    EXPECT_THAT(run("drives").output, HasSubstr("broken off; ssd-op stop 1 frees it"));
    EXPECT_THAT(run("start --yes --raid 1 --drives sda,sdb").output,
                HasSubstr("Free it first: ssd-op stop 1"));
    const Outcome watched = run("watch");
    EXPECT_EQ(watched.status, 1);
    EXPECT_THAT(watched.output, HasSubstr("broken off while testing"));
    const Outcome stopped = run("stop --failed");
    EXPECT_EQ(stopped.status, 0) << stopped.output;
    EXPECT_THAT(stopped.output, HasSubstr("had broken off"));
    EXPECT_EQ(status_of(1), SSD_OP_TEST_STATUS_FAILED);
    expect_all_given_back();
}

TEST_F(Running, IsStoppedToTheEndInSpiteOfCtrlC) {
    // Ctrl-C reaches the whole group of processes.
    const Outcome stopped = shell(
        "setsid /opt/appliance/bin/ssd-op stop 1 >/tmp/stopped 2>&1 & "
        "until grep -q 'goes on' /tmp/stopped || ! kill -0 $!; do "
        "kill -INT -- -$! 2>/dev/null; sleep 1; done; "
        "wait $!; code=$?; cat /tmp/stopped; exit $code");
    EXPECT_EQ(stopped.status, 0) << stopped.output;
    EXPECT_THAT(stopped.output, HasSubstr("The stop goes on"));
    expect_all_given_back();
}

TEST_F(Running, AStopThatDiesSaysSoAndCanBeRepeated) {
    kill_driver();
    appliance().killing("LV_Destroy", Nth(1));
    const Outcome died = run("stop 1");
    EXPECT_EQ(died.status, 1);
    EXPECT_THAT(died.output, HasSubstr("ended without an answer"));
    EXPECT_EQ(run("stop 1").status, 0);
    expect_all_given_back();
}

TEST_F(Running, IsRefusedDeletionWhileItStillCloses) {
    appliance().holding("NAS_Pool_Remove", Nth(1));
    EXPECT_EQ(parsed("stop 1 --keep-storage")[0]["closing"], true);
    const Outcome refused = run("delete 1 --yes");
    EXPECT_EQ(refused.status, 3);
    EXPECT_THAT(refused.output, HasSubstr("is still removing its storage"));
    appliance().healthy();
    EXPECT_EQ(run("watch 1").status, 6);
    EXPECT_EQ(run("delete 1 --yes").status, 0);
}

TEST_F(Running, KeptStorageIsShownAndRemovedByTheNextStop) {
    kill_driver();
    const Outcome kept = run("stop --keep-storage");
    EXPECT_EQ(kept.status, 0) << kept.output;
    EXPECT_THAT(kept.output, HasSubstr("ssd-op stop 1 removes it."));
    EXPECT_THAT(run("status 1").output, HasSubstr("Its storage is still there"));
    EXPECT_THAT(run("drives").output, HasSubstr("left by evaluation 1"));
    EXPECT_THAT(run("delete 1 --yes").output, HasSubstr("Remove it first: ssd-op stop 1"));
    EXPECT_EQ(run("stop 1 --keep-storage").status, 3);
    EXPECT_THAT(run("stop 1 --failed").output, HasSubstr("without --failed, that is removed"));
    const Outcome removed = run("stop 1");
    EXPECT_EQ(removed.status, 0) << removed.output;
    EXPECT_THAT(removed.output, HasSubstr("Its drives are free."));
    EXPECT_EQ(status_of(1), SSD_OP_TEST_STATUS_STOPPED);
    expect_all_given_back();
    EXPECT_EQ(run("delete 1 --yes").status, 0);
}

TEST_F(CommandLine, TakesNoGroupOfOthersForWhatAnEvaluationLeft) {
    appliance().with_drives(4);
    Groups groups(1, {0, 1});
    groups.numbered(800);
    make_storage(groups);
    make_record({2, 3}, SSD_OP_TEST_STATUS_STOPPED);
    EXPECT_EQ(run("stop 1").status, 3) << "a group of that number over other drives";
    make_record({0, 1}, SSD_OP_TEST_STATUS_STOPPED);
    EXPECT_THAT(run("drives").output, HasSubstr("left by evaluation 2"));
    make_record({0, 1}, SSD_OP_TEST_STATUS_TESTING);
    EXPECT_EQ(run("stop 2").status, 3) << "an evaluation that runs has the number now";
    EXPECT_EQ(appliance().volumes().size(), 1U);
}

TEST_F(CommandLine, DropsNoRecordThatStillHoldsSomething) {
    appliance().with_drives(6);
    Groups left(1, {0, 1}), tested(1, {2, 3});
    left.numbered(800);
    tested.numbered(900);
    make_storage(left);
    new_record(left, SSD_OP_TEST_STATUS_STOPPED, 1);
    new_record(tested, SSD_OP_TEST_STATUS_TESTING);
    const std::string start = "start --raid 1 --drives sde,sdf --dry-run";
    ASSERT_EQ(SSD_OP_DB_Update_Max_Record_Limit(2), 0);
    for (const std::string& command :
         {start, std::string("limit 1 --yes"), std::string("delete 2 1 --yes")}) {
        const Outcome refused = run(command);
        EXPECT_EQ(refused.status, 3) << command << '\n' << refused.output;
        EXPECT_THAT(refused.output, HasSubstr("irst: ssd-op stop ")) << command;
    }

    const json stopped = parsed("stop --all");
    ASSERT_EQ(stopped.size(), 2U);
    EXPECT_EQ(stopped[0]["left_storage"], false);
    EXPECT_EQ(stopped[1]["status"], "stopped");
    EXPECT_TRUE(appliance().volumes().empty());
    EXPECT_TRUE(appliance().journal().shows("Start_Services"));
    EXPECT_EQ(parsed(start)["dropped_records"], json({1}));
    EXPECT_THAT(run("start --raid 1 --drives sde,sdf").output,
                HasSubstr("The record limit deletes record 1"));

    new_record(tested, SSD_OP_TEST_STATUS_TESTING);
    ASSERT_EQ(SSD_OP_DB_Delete_Record(2), 0);
    ASSERT_EQ(SSD_OP_DB_Update_Max_Record_Limit(1), 0);
    EXPECT_THAT(run(start).output, HasSubstr("Stop it first: ssd-op stop 3"));
}

TEST_F(CommandLine, TellsTheTimeLeftFromTheRatioBefore) {
    Groups groups(1, {0, 1});
    groups.numbered(800);
    const int record = new_record(groups, SSD_OP_TEST_STATUS_TESTING)->record_no;
    appliance().run_sql(
        "UPDATE TEST_RECORD SET max_op = 40, interval = 10, lv_size = 60000, test_size = 60000");
    ASSERT_EQ(SSD_OP_DB_Update_Test_Result(record, 0, 7.69, 4000), 0);
    write_file("/root/steps", "8000000, 4000, 0, 0, 122880000\n");
    ASSERT_EQ(SSD_OP_DB_Update_Runtime_Report(record, 0, "/root/steps", 0), 0);
    Ini_Conf_Set_Field(kRuntimeInfo, "Record_1", "current_op_percentage", "10");
    Ini_Conf_Set_Field(kRuntimeInfo, "Record_1", "current_op_start_time", "1");
    // The current one is overdue. Of the others each takes 320 s, and 7680 s times its share of the
    // volume and of the work of a write, by the theory with a write amplification of 2.17 and less.
    EXPECT_NEAR(parsed("status 1")["remaining_seconds"].get<int>(), 1937 + 1361 + 1040, 100);
}

TEST_F(CommandLine, ShowsNoAbsurdFiguresAndNoControlCharacters) {
    Groups groups(1, {0, 1});
    groups.numbered(800);
    new_record(groups, SSD_OP_TEST_STATUS_TESTING);
    Ini_Conf_Set_Field(kRuntimeInfo, "Record_1", "current_op_percentage", "99999");
    EXPECT_THAT(run("status 1").output, Not(HasSubstr("99999")));
    appliance().run_sql("UPDATE TEST_RECORD SET title = '\xC2\x9B[31m \xFF \xC3\xA9'");
    EXPECT_THAT(run("list").output, HasSubstr("\\xc2\\x9b[31m \\xff \xC3\xA9"));
    EXPECT_EQ(run("list >/dev/full").status, 1);
    EXPECT_EQ(run("list >&-").status, 0);
    EXPECT_EQ(run("db check >/dev/null").status, 0);
}

TEST_F(CommandLine, DeletesAndLimitsWhatItNamesAndNothingElse) {
    EXPECT_EQ(parsed("limit")["limit"], 30);
    EXPECT_EQ(appliance().database(), "") << "a question makes no database";
    for (int i = 0; i < 5; ++i) make_record({0, 1}, SSD_OP_TEST_STATUS_COMPLETED);
    for (const char* command : {"delete 2 9 --yes", "show 9", "status 9", "watch 9", "stop 9"}) {
        const Outcome unknown = run(command);
        EXPECT_EQ(unknown.status, 4) << command;
        EXPECT_THAT(unknown.output, HasSubstr("There are these: 1, 2, 3, 4, 5.")) << command;
    }
    EXPECT_EQ(run("delete 2").status, 5);
    EXPECT_EQ(run("limit 3").status, 5);
    EXPECT_EQ(run("limit 0").status, 3);
    EXPECT_EQ(run("limit -4").status, 3);
    EXPECT_EQ(run("delete").status, 2);
    EXPECT_EQ(parsed("list").size(), 5U);

    EXPECT_EQ(parsed("delete 4 2 4 --yes")["deleted"], json({2, 4}));
    EXPECT_EQ(parsed("limit 2 --yes")["records"], 2);
    EXPECT_EQ(parsed("list")[0]["record"], 3);
    EXPECT_EQ(parsed("delete --all --yes")["deleted"], json({3, 5}));
    EXPECT_THAT(run("list").output, HasSubstr("There is no record yet"));
}

TEST_F(CommandLine, LooksAfterTheDatabase) {
    EXPECT_EQ(run("db check").status, 4);
    make_record({0, 1}, SSD_OP_TEST_STATUS_COMPLETED);
    EXPECT_EQ(parsed("db move system")["location"], "system area");
    EXPECT_EQ(parsed("db where")["path"], appliance().database());
    EXPECT_EQ(parsed("db move volume")["location"], "data volume");
    EXPECT_GT(parsed("db size")["volume_free_kib"], 0);
    EXPECT_EQ(parsed("db downgrade 2 --yes"), json({{"version", 2}, {"records", 1}}));
    EXPECT_EQ(parsed("db check")["version"], 2);
    EXPECT_THAT(run("show 1").output, HasSubstr("version 2; ssd-op db upgrade brings it up"));
    EXPECT_EQ(parsed("db upgrade"), json({{"version", 6}, {"records", 1}}));

    appliance().run_sql("DELETE FROM TEST_RECORD; DELETE FROM SSD_DEV");
    const Outcome damaged = run("db check");
    EXPECT_EQ(damaged.status, 1);
    EXPECT_THAT(damaged.output,
                HasSubstr("1 row of RAID_GROUP lead to nothing in TEST_RECORD: left"));
    EXPECT_THAT(damaged.output, HasSubstr("2 rows of SELECT_DEV lead to nothing in SSD_DEV\n"));
    appliance().run_sql("UPDATE DB_VERSION SET version = 9");
    EXPECT_THAT(run("db check").output, HasSubstr("9; made by a newer program"));
    for (const std::string& content : {std::string(5000, 'x'), std::string()}) {
        write_file(appliance().database(), content);
        const Outcome unreadable = run("db check");
        EXPECT_EQ(unreadable.status, 1);
        EXPECT_THAT(unreadable.output, HasSubstr("Version    unreadable\nFile       DAMAGED"));
        EXPECT_THAT(unreadable.output, Not(HasSubstr("upgrade")));
        EXPECT_EQ(read_file(appliance().database()), content);
    }
}

TEST_F(CommandLine, LeavesAStartedEvaluationRunning) {
    plant_quick_test_script();
    const Outcome start = run("start --yes --raid 1 --drives sda,sdb --json");
    ASSERT_EQ(start.status, 0) << start.output;
    EXPECT_EQ(json::parse(start.output)["record"], 1);
    EXPECT_TRUE(eventually([] { return status_of(1) == SSD_OP_TEST_STATUS_COMPLETED; }));
    EXPECT_TRUE(
        eventually([] { return run("status 1").output.find("100.0 %") != std::string::npos; }));
}

}  // namespace
