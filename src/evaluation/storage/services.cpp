#include "evaluation/storage/services.h"

#include <algorithm>
#include <string>
#include <vector>

#include <unistd.h>

#include "base/child.h"
#include "db/record_owner.h"
#include "db/running_records.h"
#include "evaluation/state/status.h"
#include "platform/naslog.h"
#include "platform/storage.h"
#include "runtime/state_section.h"

namespace ssd_op::evaluation {

void stop_service(const char* script, int record_no) {
    const std::string path = std::string("/etc/init.d/") + script;
    const base::Fork side = base::fork_process(false);
    if (side.in_child()) {
        base::end_with("SSD_OP_Test_Create_Storage", [&] {
            // Time for the parent to publish this process's id.
            ::sleep(1);
            base::standard_streams_to_null();
            ::execl(path.c_str(), script, "stop", " &>/dev/null", " 2>>/dev/null", nullptr);
        });
    }
    base::Child child(side.child());
    ::usleep(100000);
    runtime::runtime_info(record_no).write(runtime::kStopServicePid, child.pid());
    SM_TRACE(SM_TRACE_INFO, "%s: [Record(%d)] child_pid: %d.\n", "SSD_OP_Test_Create_Storage",
             record_no, child.pid());
}

namespace {

bool keeps_services_stopped(int record_no) {
    if (!is_running(status_of(record_no))) return false;
    const db::RecordOwner record = db::load_record(record_no);
    return record && record->stop_service != 0;
}

}  // namespace

bool restart_services(int record_no) {
    // Where the database does not tell who else needs them stopped, services that run are the
    // lesser evil.
    const auto running = db::running_records(SSD_OP_MAX_RECORDS).value_or(std::vector<int>());
    const bool needed = std::any_of(running.begin(), running.end(), [&](int other) {
        return other != record_no && keeps_services_stopped(other);
    });
    if (!needed) Start_Services();
    return !needed;
}

}  // namespace ssd_op::evaluation
