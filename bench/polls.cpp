// What each call costs that a front end polls while an evaluation runs, and what it consists of.
// Prints one table. Runs inside an appliance with a record from `bench-work fill`.
// usage: bench-polls REPETITIONS

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <vector>

#include <fmt/format.h>

#include "platform/ini.h"
#include "platform_time.h"
#include "ssd_op.h"

namespace {

constexpr int kRecord = 1;
constexpr const char* kRuntimeInfo = "/etc/.sm_v2_ssd_op_runtime_info";
constexpr const char* kSection = "Record_1";

/// What the test script writes in the middle of a ratio.
void write_script_status() {
    const std::pair<const char*, const char*> keys[] = {
        {"current_op_percentage", "5"},   {"current_op_total_step", "3"},
        {"current_op_running_step", "2"}, {"current_op_start_time", "1700000000"},
        {"current_op_detail", "1"},       {"test_script_progress", "40"}};
    for (const auto& [key, value] : keys) Ini_Conf_Set_Field(kRuntimeInfo, kSection, key, value);
    std::ofstream status("/etc/.sm_v2_ssd_op_test_1");
    for (int field = 1; field <= 51; ++field)
        status << (field == 7 ? "12m:34s" : field == 51 ? "23456.7" : "50") << ';';
    status << '\n';
}

struct Cost {
    double all;
    bench::PlatformTime platform;
};

Cost measure(const std::function<void()>& call) {
    const bench::PlatformTime before = bench::seconds_in_platform();
    const auto start = std::chrono::steady_clock::now();
    call();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    const bench::PlatformTime after = bench::seconds_in_platform();
    return {took.count(),
            {after.commands - before.commands, after.settings - before.settings,
             after.volumes - before.volumes}};
}

/// The call in the middle, by the whole time.
Cost median(const std::function<void()>& call, int repetitions) {
    std::vector<Cost> costs;
    for (int i = 0; i < repetitions; ++i) costs.push_back(measure(call));
    const auto middle = costs.begin() + std::ssize(costs) / 2;
    std::nth_element(costs.begin(), middle, costs.end(),
                     [](const Cost& a, const Cost& b) { return a.all < b.all; });
    return *middle;
}

void print(const char* name, const Cost& cost) {
    const bench::PlatformTime& platform = cost.platform;
    fmt::print("| {} | {:.0f} | {:.0f} | {:.0f} | {:.0f} | {:.0f} |\n", name, cost.all * 1e6,
               platform.commands * 1e6, platform.settings * 1e6, platform.volumes * 1e6,
               (cost.all - platform.all()) * 1e6);
}

using Record = std::unique_ptr<ssd_op_db_record, decltype(&SSD_OP_DB_Free_Record)>;

Record read_record() {
    Record record(static_cast<ssd_op_db_record*>(std::calloc(1, sizeof(ssd_op_db_record))),
                  SSD_OP_DB_Free_Record);
    if (!record || SSD_OP_DB_Query_Record(kRecord, record.get()) != 0) std::exit(1);
    return record;
}

void measure_all(int repetitions) {
    int number = 0;
    float percent = 0;
    unsigned long long seconds = 0;
    long double value = 0;
    const Record held = read_record();
    ssd_op_db_record* const record = held.get();
    record->max_op = 40;
    record->interval = 10;
    const std::pair<const char*, std::function<void()>> calls[] = {
        {"`SSD_OP_DB_Query_Record_Status`", [&] { SSD_OP_DB_Query_Record_Status(kRecord); }},
        {"`SSD_OP_Test_Get_Status`", [&] { SSD_OP_Test_Get_Status(kRecord, &number); }},
        {"`SSD_OP_DB_Query_Record`", [] { read_record(); }},
        {"`SSD_OP_Test_Get_Step_Progress`",
         [&] { SSD_OP_Test_Get_Step_Progress(kRecord, &number); }},
        {"`SSD_OP_Test_Get_OP_Count`", [&] { SSD_OP_Test_Get_OP_Count(kRecord, record, &number); }},
        {"`SSD_OP_Test_Get_Current_OP_Percentage`",
         [&] { SSD_OP_Test_Get_Current_OP_Percentage(kRecord, &number); }},
        {"`SSD_OP_Test_Get_Current_OP_Total_Step`",
         [&] { SSD_OP_Test_Get_Current_OP_Total_Step(kRecord, &number); }},
        {"`SSD_OP_Test_Get_Current_OP_Running_Step`",
         [&] { SSD_OP_Test_Get_Current_OP_Running_Step(kRecord, &number); }},
        {"`SSD_OP_Test_Get_Current_OP_Detail`",
         [&] { SSD_OP_Test_Get_Current_OP_Detail(kRecord, &number); }},
        {"`SSD_OP_Test_Get_Current_OP_Start_Time`",
         [&] { SSD_OP_Test_Get_Current_OP_Start_Time(kRecord, &seconds); }},
        {"`SSD_OP_Test_Get_Current_OP_Progress`",
         [&] { SSD_OP_Test_Get_Current_OP_Progress(kRecord, &percent); }},
        {"`SSD_OP_Test_Get_Current_OP_ETA`",
         [&] { SSD_OP_Test_Get_Current_OP_ETA(kRecord, &seconds); }},
        {"`SSD_OP_Test_Get_Current_OP_Test_Amount`",
         [&] { SSD_OP_Test_Get_Current_OP_Test_Amount(kRecord, &seconds); }},
        {"`SSD_OP_Test_Get_Current_OP_Test_Value`",
         [&] { SSD_OP_Test_Get_Current_OP_Test_Value(kRecord, &value); }},
        {"`SSD_OP_Test_Get_Progress`",
         [&] { SSD_OP_Test_Get_Progress(kRecord, record, &percent); }},
        {"`SSD_OP_Test_Get_Remain_Time`",
         [&] { SSD_OP_Test_Get_Remain_Time(kRecord, record, &seconds); }},
        {"`SSD_OP_Test_Get_Remain_Time`, without a record",
         [&] { SSD_OP_Test_Get_Remain_Time(kRecord, nullptr, &seconds); }},
        {"`SSD_OP_Test_Get_Total_Test_Count`",
         [&] { SSD_OP_Test_Get_Total_Test_Count(kRecord, record, &number); }},
        {"`SSD_OP_Test_Get_Complete_Test_Count`",
         [&] { SSD_OP_Test_Get_Complete_Test_Count(kRecord, record, &number); }},
    };
    fmt::print(
        "| call | microseconds | commands | ini files and locks | volumes | library and SQLite |\n"
        "|---|--:|--:|--:|--:|--:|\n");
    for (const auto& [name, call] : calls) print(name, median(call, repetitions));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        fmt::print(stderr, "usage: bench-polls REPETITIONS; see bench/run\n");
        return 2;
    }
    SSD_OP_Test_Set_Status(kRecord, SSD_OP_TEST_STATUS_TESTING);
    write_script_status();
    measure_all(std::atoi(argv[1]));
    return 0;
}
