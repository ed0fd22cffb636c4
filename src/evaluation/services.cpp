#include "evaluation/services.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include <unistd.h>

#include "base/child.h"
#include "db/record_owner.h"
#include "evaluation/evaluation.h"
#include "platform/naslog.h"
#include "platform/storage.h"

namespace ssd_op::evaluation {

void stop_service(const char* script, int record_no) {
    const std::string path = std::string("/etc/init.d/") + script;
    const base::Fork side = base::fork_process(false);
    if (side.in_child()) {
        // Time for the parent to publish this process's id.
        ::sleep(1);
        base::standard_streams_to_null();
        ::execl(path.c_str(), script, "stop", " &>/dev/null", " 2>>/dev/null", nullptr);
        std::_Exit(0);
    }
    base::Child child(side.child());
    ::usleep(100000);
    SSD_OP_Test_Set_Stop_Service_PID(record_no, child.pid());
    SM_TRACE(SM_TRACE_INFO, "%s: [Record(%d)] child_pid: %d.\n", "SSD_OP_Test_Create_Storage",
             record_no, child.pid());
}

namespace {

constexpr const char* kStartUpMark = "/tmp/opr_run_once_on_boot";
constexpr const char* kShutdownMark = "/var/kfunc/rcK";

bool keeps_services_stopped(int record_no) {
    if (!is_running(status_of(record_no))) return false;
    const db::RecordOwner record = db::load_record(record_no);
    return record && record->stop_service != 0;
}

}  // namespace

bool restart_services(int record_no) {
    int record_nos[SSD_OP_MAX_RECORDS] = {};
    const int count = std::clamp(SSD_OP_DB_Query_Record_No(record_nos, SSD_OP_MAX_RECORDS), 0,
                                 SSD_OP_MAX_RECORDS);
    const bool needed = std::any_of(record_nos, record_nos + count, [&](int other) {
        return other != record_no && keeps_services_stopped(other);
    });
    if (!needed) Start_Services();
    return !needed;
}

bool services_may_start() {
    return ::access(kStartUpMark, F_OK) == 0 && ::access(kShutdownMark, F_OK) != 0;
}

}  // namespace ssd_op::evaluation
