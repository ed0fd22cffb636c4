// Progress during a real evaluation: what a watcher is shown, and what four processes that poll ten
// times a second get meanwhile. With another number in POLLERS and a clock slow enough that
// programs start at once, it measures what the polling costs the evaluation:
//
//     export APPLIANCE_TEST_RATE=5
//     appliance/run-test build/dev env POLLERS=0 build/dev/bin/progress_run_test
//     appliance/run-test build/dev env POLLERS=4 build/dev/bin/progress_run_test

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sys/syscall.h>
#include <unistd.h>

#include "ssd_op.h"
#include "support/appliance.h"
#include "support/evaluation.h"

namespace {

using namespace support;
using nlohmann::json;

constexpr int kRecord = 1;
constexpr const char* kStart =
    "/opt/appliance/bin/ssd-op start --yes --json --raid 1 --drives sda,sdb --max-op 10 "
    "--test-size 256 --abort-time 120 >/tmp/start.json 2>&1";
constexpr const char* kWatch = "/opt/appliance/bin/ssd-op watch 1 --json";

double wall_seconds() {
    timespec now{};
    ::syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

bool is_a_percentage(float value) { return value >= 0 && value <= 100; }

/// What a poller is told of the time that the last ratio still takes.
struct TimeLeft {
    int told = 0;
    unsigned long long most = 0, last = 0;

    void take(unsigned long long seconds) {
        ++told;
        most = std::max(most, seconds);
        last = seconds;
    }
    bool shrank() const { return told < 4 || last * 2 <= most; }
};

/// All that a front end asks for. What is wrong with the answers; empty: nothing.
std::string poll(TimeLeft& time_left) {
    float whole = -1, of_ratio = 0;
    int ratio = 0, step = 1, steps = 3, count = 0;
    unsigned long long left = 0, amount = 0;
    long double iops = 0;
    SSD_OP_Test_Get_Progress(kRecord, nullptr, &whole);
    SSD_OP_Test_Get_Current_OP_Percentage(kRecord, &ratio);
    SSD_OP_Test_Get_Current_OP_Running_Step(kRecord, &step);
    SSD_OP_Test_Get_Current_OP_Total_Step(kRecord, &steps);
    SSD_OP_Test_Get_Current_OP_Progress(kRecord, &of_ratio);
    SSD_OP_Test_Get_Current_OP_Test_Amount(kRecord, &amount);
    SSD_OP_Test_Get_Current_OP_Test_Value(kRecord, &iops);
    SSD_OP_Test_Get_Remain_Time(kRecord, nullptr, &left);
    SSD_OP_Test_Get_Complete_Test_Count(kRecord, nullptr, &count);
    if (ratio == 10 && left > 0) time_left.take(left);
    std::ostringstream wrong;
    if (!is_a_percentage(whole)) wrong << " progress " << whole;
    if (!is_a_percentage(of_ratio)) wrong << " progress of the ratio " << of_ratio;
    if (ratio != -2 && ratio != -1 && ratio != 0 && ratio != 10) wrong << " ratio " << ratio;
    if (steps != 3 || step < 1 || step > steps) wrong << " step " << step << " of " << steps;
    if (!(iops >= 0 && iops < 1e7L)) wrong << " IOPS " << iops;
    if (left > 86400 || count < 0 || count > 6) wrong << " left " << left << " done " << count;
    return wrong.str();
}

/// Polls until the evaluation has ended. Exit status 0 when no answer was absurd.
int keep_polling(int number) {
    const std::string name = "/tmp/poller." + std::to_string(number);
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(name.c_str(), "w"),
                                                         &std::fclose);
    int polls = 0, absurd = 0;
    TimeLeft time_left;
    double spent = 0;
    for (int status = 0; status >= 0 && status < SSD_OP_TEST_STATUS_COMPLETED; ++polls) {
        const double before = wall_seconds();
        const std::string wrong = poll(time_left);
        spent += wall_seconds() - before;
        if (!wrong.empty()) {
            ++absurd;
            std::fprintf(stderr, "poller %d:%s\n", number, wrong.c_str());
        }
        pause_for_milliseconds(100);
        status = status_of(kRecord);
    }
    if (!time_left.shrank()) {
        ++absurd;
        std::fprintf(stderr, "poller %d: %llu s left at the end, %llu before\n", number,
                     time_left.last, time_left.most);
    }
    std::fprintf(file.get(), "%d polls, %.0f us each", polls, spent / polls * 1e6);
    return absurd == 0 ? 0 : 1;
}

std::vector<json> lines_of(const char* command) {
    const Outcome outcome = shell(command);
    EXPECT_EQ(outcome.status, 0);
    std::vector<json> lines;
    std::istringstream text(outcome.output);
    for (std::string line; std::getline(text, line);)
        lines.push_back(json::parse(line, nullptr, false));
    return lines;
}

class ProgressRun : public ApplianceTest {};

TEST_F(ProgressRun, NeverFallsAndIsNeverAbsurd) {
    appliance().with([](auto& blueprint) {
        blueprint.drives = 2;
        blueprint.drive.size_gb = 8;
    });
    const char* wanted = std::getenv("POLLERS");
    ASSERT_EQ(std::system(kStart), 0) << read_file("/tmp/start.json");
    std::vector<std::unique_ptr<Child>> pollers;
    for (int i = 0; i < (wanted != nullptr ? std::atoi(wanted) : 4); ++i)
        pollers.push_back(std::make_unique<Child>([i] { return keep_polling(i); }));
    const std::vector<json> shown = lines_of(kWatch);
    for (const auto& poller : pollers) EXPECT_EQ(poller->wait(), exited(0));

    ASSERT_GT(shown.size(), 3U);
    double highest = 0;
    for (const json& look : shown) {
        ASSERT_TRUE(look.is_object());
        EXPECT_GE(look["percent"].get<double>(), highest) << look;
        highest = look["percent"].get<double>();
        EXPECT_EQ(highest == 100, &look == &shown.back()) << look;
        if (!look["ratio"].is_null()) {
            EXPECT_EQ(look["ratio_no"].get<int>(), look["ratio"].get<int>() / 10 + 1);
            EXPECT_EQ(look["ratio_count"], 2);
        }
    }
    EXPECT_EQ(shown.back()["status"], "completed");

    const Record record = read_record(kRecord);
    std::printf("The evaluation took %ld s of the appliance's clock.\n",
                static_cast<long>(record->end_time - record->start_time));
    for (size_t i = 0; i < pollers.size(); ++i)
        std::printf("Poller %zu: %s\n", i, read_file("/tmp/poller." + std::to_string(i)).c_str());
}

}  // namespace
