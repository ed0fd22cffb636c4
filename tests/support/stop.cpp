#include "support/stop.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <time.h>
#include <unistd.h>

namespace support {

namespace {

constexpr std::array kPrograms = {"test-all.sh", "SOPT.sh",          "disk_opr_util", "kblkdiscard",
                                  "fio",         "services.sh stop", "rsyncd.sh stop"};

double now() {
    timespec time{};
    ::clock_gettime(CLOCK_REALTIME, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

bool any_program_runs() {
    return std::ranges::any_of(kPrograms, [](const char* program) { return runs(program); });
}

int count_notices(const Appliance& appliance, const std::string& message_id) {
    const auto notices = appliance.notices();
    return static_cast<int>(std::ranges::count(notices, message_id, &Notice::message_id));
}

}  // namespace

RunningEvaluation::RunningEvaluation(Groups& groups, const ssd_op_test_param& request)
    : record_no_(SSD_OP_DB_Get_Newest_Record() + 1), driver_([&groups, request] {
          ssd_op_test_param own = request;
          return NAS_SSD_OP_Test_Start(nullptr, 0, groups.list(), &own) > 0 ? 0 : 1;
      }) {}

int RunningEvaluation::step_progress() const {
    int progress = 0;
    SSD_OP_Test_Get_Step_Progress(record_no_, &progress);
    return progress;
}

bool runs(const std::string& program, const std::string& text) {
    const auto all = processes();
    return std::ranges::any_of(all, [&](const ProcessInfo& process) {
        return process.pid != ::getpid() && process.state != 'Z' &&
               process.command.find(program) != std::string::npos &&
               process.command.find(text) != std::string::npos;
    });
}

Stopped stop(RunningEvaluation& evaluation, const StopArguments& arguments) {
    const double begin = now();
    Stopped stopped{};
    stopped.result = NAS_SSD_OP_Test_Stop(nullptr, 0, evaluation.record_no(), -1,
                                          arguments.remove_storage, arguments.type);
    stopped.seconds_to_return = now() - begin;
    EXPECT_TRUE(eventually([&] { return !evaluation.driver().running(); }));
    evaluation.driver().signal(SIGKILL);
    evaluation.driver().wait();
    EXPECT_TRUE(eventually([] { return !any_program_runs(); }));
    stopped.seconds_to_quiet = now() - begin;
    return stopped;
}

void expect_stopped(Appliance& appliance, int record_no, int status) {
    const Record record = read_record(record_no);
    ASSERT_EQ(record->record_no, record_no);
    EXPECT_EQ(record->status, status);
    EXPECT_GT(record->end_time, 0);
    EXPECT_EQ(record->count, (record->max_op - record->min_op) / record->interval + 1);
    EXPECT_TRUE(appliance.volumes().empty());
    EXPECT_TRUE(appliance.pools().empty());
    EXPECT_TRUE(appliance.raid_groups().empty());
    for (const auto* group = record->raid_conf; group != nullptr; group = group->next)
        EXPECT_EQ(RAID_Is_Exist(group->raid_id), 0);
    EXPECT_TRUE(appliance.service_runs("services"));
    EXPECT_TRUE(appliance.service_runs("rsyncd"));
    EXPECT_FALSE(exists("/tmp/cv_initializing.tmp"));
    EXPECT_FALSE(exists("/tmp/cv_removing.tmp"));
    EXPECT_EQ(appliance.sql_value("PRAGMA integrity_check"), "ok");
    const bool by_user = status == SSD_OP_TEST_STATUS_STOPPED;
    EXPECT_EQ(count_notices(appliance, "MSG_SFT_004"), by_user ? 1 : 0);
    EXPECT_EQ(count_notices(appliance, "MSG_SFT_003"), by_user ? 0 : 1);
    EXPECT_EQ(count_notices(appliance, "MSG_SFT_002"), 0) << "it is not completed";
}

void expect_drives_are_free(Appliance& appliance, Groups& groups) {
    measure_at_once(appliance);
    plant_quick_test_script();
    for (RAID_CONF* group = groups.list(); group != nullptr; group = group->next) group->flags = 0;
    ssd_op_test_param again = request(10, 10, 1, "again");
    const int record_no = NAS_SSD_OP_Test_Start(nullptr, 0, groups.list(), &again);
    EXPECT_GT(record_no, 0) << appliance.journal();
    EXPECT_EQ(status_of(record_no), SSD_OP_TEST_STATUS_COMPLETED);
}

}  // namespace support
