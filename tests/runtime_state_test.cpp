#include <csignal>
#include <filesystem>
#include <set>
#include <sstream>

#include <gmock/gmock.h>

#include "ssd_op.h"
#include "support/appliance.h"
#include "support/state.h"

namespace {

using namespace support;

class RuntimeState : public ApplianceTest {};

struct Value {
    const char* key;
    bool in_addon;
    int (*get)(int, int*);
    int (*set)(int, int);
};

const Value kValues[] = {
    {"step_progress", false, SSD_OP_Test_Get_Step_Progress, SSD_OP_Test_Set_Step_Progress},
    {"stop_service_pid", false, SSD_OP_Test_Get_Stop_Service_PID, SSD_OP_Test_Set_Stop_Service_PID},
    {"skip_op_event_sent", false, SSD_OP_Test_Get_Skip_OP_Event_Sent,
     SSD_OP_Test_Set_Skip_OP_Event_Sent},
    {"stop_type", false, SSD_OP_Test_Get_Stop_Type, SSD_OP_Test_Set_Stop_Type},
    {"op_count", false, nullptr, SSD_OP_Test_Set_OP_Count},
    {"skip_op_count", true, SSD_OP_Test_Get_Skip_OP_Count, SSD_OP_Test_Set_Skip_OP_Count},
    {"failed_popup_shown", true, SSD_OP_Test_Get_Failed_Popup, SSD_OP_Test_Set_Failed_Popup},
    {"skip_op_popup_shown", true, SSD_OP_Test_Get_Skip_OP_Popup, SSD_OP_Test_Set_Skip_OP_Popup},
};

std::string skip_list() { return stored(addon_conf(), "skip_op_list"); }

void store_skip_list(const std::string& text) {
    Ini_Conf_Set_Field(addon_conf().c_str(), "Record_1", "skip_op_list", text.c_str());
}

std::string numbers(int from, int to) {
    std::string text;
    for (int i = from; i <= to; ++i) text += (i == from ? "" : ",") + std::to_string(i);
    return text;
}

TEST_F(RuntimeState, KeepsEachValueUnderItsKeyOfItsRecordInItsFile) {
    int number = 40;
    for (const Value& value : kValues) {
        SCOPED_TRACE(value.key);
        int read = -7;
        if (value.get != nullptr) {
            EXPECT_EQ(value.get(1, &read), -1) << "nothing has been stored yet";
            EXPECT_EQ(read, value.key == std::string("stop_type") ? 0 : -7);
            EXPECT_EQ(value.get(1, nullptr), -1);
        }
        EXPECT_EQ(value.set(1, ++number), 0);
        EXPECT_EQ(value.set(2, -number), 0);
        EXPECT_EQ(stored(value.in_addon ? addon_conf() : kRuntimeInfo, value.key),
                  std::to_string(number));
        if (value.get != nullptr) {
            EXPECT_EQ(value.get(1, &read), 0);
            EXPECT_EQ(read, number);
        }
    }
    int agreement = 0;
    EXPECT_EQ(SSD_OP_Test_Set_User_Agreement(1), 0);
    EXPECT_EQ(SSD_OP_Test_Get_User_Agreement(&agreement), 0);
    EXPECT_EQ(agreement, 1);
    EXPECT_EQ(stored(addon_conf(), "user_agreement", "Global"), "1");
}

TEST_F(RuntimeState, TouchesNothingOfTheAddOnWhenItIsNotInstalled) {
    appliance().with([](auto& blueprint) { blueprint.addon_installed = false; });
    SSD_OP_Test_Set_Step_Progress(1, 30);
    int read = 0;
    for (const Value& value : kValues) {
        if (!value.in_addon) continue;
        EXPECT_EQ(value.get(1, &read), -1) << value.key;
        EXPECT_EQ(value.set(1, 1), -1) << value.key;
    }
    EXPECT_EQ(SSD_OP_Test_Get_User_Agreement(&read), -1);
    EXPECT_EQ(SSD_OP_Test_Add_Skip_OP(1, 10), -1);
    EXPECT_EQ(SSD_OP_Test_Is_Skip_OP(1, 10), -1);
    EXPECT_EQ(SSD_OP_Test_Remove_Runtime_Info(1), -1);
    EXPECT_EQ(stored(kRuntimeInfo, "step_progress"), "30");
    EXPECT_FALSE(exists(addon_conf()));
    EXPECT_TRUE(appliance().traced("ssd_op_test_get_conf: SSD OP Test BRIX is not installed."));
}

TEST_F(RuntimeState, RemovesARecordFromBothFilesAndNothingElse) {
    for (const int record : {1, 12}) {
        SSD_OP_Test_Set_Step_Progress(record, 50);
        SSD_OP_Test_Add_Skip_OP(record, 20);
    }
    SSD_OP_Test_Set_User_Agreement(1);
    EXPECT_EQ(SSD_OP_Test_Remove_Runtime_Info(1), 0);
    EXPECT_EQ(stored(kRuntimeInfo, "step_progress"), "absent");
    EXPECT_EQ(skip_list(), "absent");
    EXPECT_EQ(stored(kRuntimeInfo, "step_progress", "Record_12"), "50");
    EXPECT_EQ(SSD_OP_Test_Is_Skip_OP(12, 20), 1);
    EXPECT_EQ(stored(addon_conf(), "user_agreement", "Global"), "1");
}

TEST_F(RuntimeState, ChangesStatusInDatabaseThenProgressThenCopyEvenWhenTheDatabaseFails) {
    SSD_OP_Test_Set_Step_Progress(1, 70);
    EXPECT_EQ(SSD_OP_Test_Set_Status(1, SSD_OP_TEST_STATUS_TESTING), 0);
    EXPECT_EQ(stored(kRuntimeInfo, "step_progress"), "0");
    EXPECT_EQ(stored(kRuntimeInfo, "status"), "2");

    SSD_OP_Test_Set_Step_Progress(1, 70);
    const std::string database = appliance().database();
    std::filesystem::remove(database);
    std::filesystem::create_directory(database);  // cannot be opened
    EXPECT_EQ(SSD_OP_Test_Set_Status(1, SSD_OP_TEST_STATUS_FINISHING), -1);
    EXPECT_EQ(stored(kRuntimeInfo, "step_progress"), "0");
    EXPECT_EQ(stored(kRuntimeInfo, "status"), "3");
}

TEST_F(RuntimeState, CountsRatiosWhateverTheLimitsAre) {
    struct {
        int min_op, max_op, interval, count;
    } const cases[] = {{10, 50, 10, 5}, {10, 10, 7, 1},  {0, 40, 0, 1},   {0, 28, 7, 5},
                       {0, 45, 10, 5},  {40, 0, 10, -3}, {0, 40, -10, -3}};
    for (const auto& limits : cases) {
        ssd_op_db_record record{};
        record.min_op = limits.min_op;
        record.max_op = limits.max_op;
        record.interval = limits.interval;
        int count = 0;
        EXPECT_EQ(SSD_OP_Test_Get_OP_Count(1, &record, &count), 0);
        EXPECT_EQ(count, limits.count) << limits.min_op << " to " << limits.max_op;
    }
    ssd_op_db_record wildest{};
    wildest.min_op = INT_MIN;
    wildest.max_op = INT_MAX;
    wildest.interval = 1;
    int count = 5;
    EXPECT_EQ(SSD_OP_Test_Get_OP_Count(1, &wildest, &count), 0);
    EXPECT_EQ(count, INT_MAX);
    EXPECT_EQ(SSD_OP_Test_Get_OP_Count(77, nullptr, &count), -1) << "there is no such record";
    EXPECT_EQ(count, INT_MAX);
}

class SkipList : public RuntimeState {};

TEST_F(SkipList, HoldsEachRatioOnceInTheOrderOfAdding) {
    EXPECT_EQ(SSD_OP_Test_Is_Skip_OP(1, 30), 0);
    EXPECT_EQ(SSD_OP_Test_Add_Skip_OP(1, 30), 0);
    EXPECT_EQ(SSD_OP_Test_Add_Skip_OP(1, 10), 0);
    EXPECT_EQ(SSD_OP_Test_Add_Skip_OP(1, 40), 0);
    EXPECT_EQ(skip_list(), "30,10,40");
    const int writes = appliance().journal().count("Ini_Conf_Set_Field");
    EXPECT_EQ(SSD_OP_Test_Add_Skip_OP(1, 10), 0);
    EXPECT_EQ(appliance().journal().count("Ini_Conf_Set_Field"), writes) << "nothing to write";
    EXPECT_EQ(SSD_OP_Test_Is_Skip_OP(1, 40), 1);
    EXPECT_EQ(SSD_OP_Test_Is_Skip_OP(1, 4), 0);
    EXPECT_TRUE(appliance().traced("SSD_OP_Test_Add_Skip_OP: [Record(1)] value: 30,10,40."));
}

TEST_F(SkipList, ReadsDamagedListsWithoutHarm) {
    struct {
        std::string text, after_adding_77;
    } const cases[] = {
        {"abc", "77"},
        {"", "77"},
        {"30,,40", "30,40,77"},
        {",30", "30,77"},
        {"30,abc", "30,77"},
        {" 7, +8,-9", "7,8,-9,77"},
        {"12345678901", "-539222,77"},  // cut to an int, and its text to seven characters
    };
    for (const auto& damaged : cases) {
        store_skip_list(damaged.text);
        EXPECT_EQ(SSD_OP_Test_Add_Skip_OP(1, 77), 0);
        EXPECT_EQ(skip_list(), damaged.after_adding_77) << "from \"" << damaged.text << '"';
    }
}

TEST_F(SkipList, RefusesWhatItHasNoRoomFor) {
    for (int op = 1; op <= SSD_OP_MAX_SKIPPED; ++op) EXPECT_EQ(SSD_OP_Test_Add_Skip_OP(1, op), 0);
    EXPECT_EQ(SSD_OP_Test_Add_Skip_OP(1, 21), -1);
    EXPECT_EQ(SSD_OP_Test_Add_Skip_OP(1, 20), 0) << "it is known";
    EXPECT_EQ(skip_list(), numbers(1, 20));
    EXPECT_TRUE(appliance().traced("20 ratios are skipped already, 21 is left out"));

    for (const std::string& hostile :
         {numbers(1, 99), std::string(250, ','), std::string(4000, '1')}) {
        store_skip_list(hostile);
        SSD_OP_Test_Add_Skip_OP(1, 98);
        EXPECT_EQ(SSD_OP_Test_Is_Skip_OP(1, -98), 0);
    }
}

TEST_F(SkipList, LosesNothingWhenProcessesAddAtOnce) {
    constexpr int kProcesses = 4, kEach = 5;
    std::vector<std::unique_ptr<Child>> children;
    for (int process = 0; process < kProcesses; ++process) {
        children.push_back(std::make_unique<Child>([process] {
            int result = 0;
            for (int i = 0; i < kEach; ++i)
                result |= SSD_OP_Test_Add_Skip_OP(1, process * kEach + i);
            return result == 0 ? 0 : 1;
        }));
    }
    for (auto& child : children) EXPECT_EQ(child->wait(), exited(0));
    for (int op = 0; op < kProcesses * kEach; ++op) EXPECT_EQ(SSD_OP_Test_Is_Skip_OP(1, op), 1);
}

TEST_F(SkipList, StaysWholeAndUnlockedWhenAnAddingProcessIsKilled) {
    for (int round = 0; round < 5; ++round) {
        Child adding([round] {
            for (int record = 2;; ++record) SSD_OP_Test_Add_Skip_OP(record, round);
            return 0;
        });
        pause_for_milliseconds(20 + 7 * round);
        adding.signal(SIGKILL);
        EXPECT_EQ(adding.wait(), killed(SIGKILL));
        EXPECT_EQ(SSD_OP_Test_Add_Skip_OP(1, round), 0);
    }
    EXPECT_EQ(skip_list(), "0,1,2,3,4");
}

}  // namespace
