#include "evaluation/driver/run.h"

#include <ctime>

#include <unistd.h>

#include "base/boundary.h"
#include "db/records.h"
#include "evaluation/drives/discard.h"
#include "evaluation/script/script.h"
#include "evaluation/state/driver_presence.h"
#include "evaluation/state/raid_ids.h"
#include "evaluation/state/status.h"
#include "evaluation/state/status_change.h"
#include "evaluation/stop/stop.h"
#include "evaluation/storage/services.h"
#include "evaluation/storage/storage.h"
#include "event/event.h"
#include "event/upload.h"
#include "platform/naslog.h"
#include "runtime/state_section.h"
#include "shared/ratios.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kFunction = "NAS_SSD_OP_Test_Start";

/// Whether a step succeeded. Memory that runs short in it is a failure of this step and no other.
template <typename Step>
bool succeeds(const Step& step) noexcept {
    return base::guarded(kFunction, false, step);
}

}  // namespace

bool Run::begin() {
    const int record_no = record_.record_no;
    runtime::remove_state(record_no);
    const int64_t count = shared::ratio_count(record_.min_op, record_.max_op, record_.interval);
    runtime::runtime_info(record_no).write(runtime::kOpCount, static_cast<int>(count));
    report(SSD_OP_EVENT_STARTED);
    // Whoever sees the record running can see who runs it.
    return announce_driver(record_no, ::getpid()) &&
           move(SSD_OP_TEST_STATUS_NEW, SSD_OP_TEST_STATUS_INITIATING);
}

bool Run::carry_out() noexcept {
    if (!attempt(&Run::make_and_test)) succeeded_ = false;
    if (!attempt(&Run::capture_results)) succeeded_ = false;
    attempt(&Run::remove_storage);
    progress_while_finishing(80);
    attempt(&Run::restart_stopped_services);
    store_end_time();
    SM_TRACE(SM_TRACE_INFO, "%s: [LV(%d), Record(%d)] %s to perform SSD OP testing.\n", kFunction,
             request_.lv_id, record_.record_no, succeeded_ ? "Succeed" : "Fail");
    attempt(&Run::upload);
    progress_while_finishing(100);
    complete();
    // Those for which they waited may have looked at this one, and left them to it.
    if (services_wait_) attempt(&Run::restart_stopped_services);
    return succeeded_;
}

void Run::give_up() noexcept {
    succeeded_ = false;
    remove_raid_configurations(groups_);
    complete();
    store_end_time();
}

/// False when memory ran short in it.
bool Run::attempt(void (Run::*step)()) noexcept {
    return succeeds([&] {
        (this->*step)();
        return true;
    });
}

void Run::make_and_test() {
    if (!probe_drives()) return;
    create_storage();
    test();
}

bool Run::probe_drives() {
    if (nas_ssd_op_test_check_block_discard(raid_list_) >= 0) return true;
    SM_TRACE(SM_TRACE_ERROR, "%s: [Record(%d)] Block discard is not supported!\n", kFunction,
             record_.record_no);
    succeeded_ = false;
    // A stop kills the probe, too: that says nothing of the drive.
    if (move(SSD_OP_TEST_STATUS_INITIATING, SSD_OP_TEST_STATUS_FAILED)) {
        const ssd_op_event_step detail{SSD_OP_STEP_FAILED, 0};
        report(SSD_OP_EVENT_STEP_FAILED, &detail);
    }
    remove_raid_configurations(groups_);
    return false;
}

void Run::create_storage() {
    trace_creation(0);
    request_.lv_id = evaluation::create_storage(raid_list_, request_, record_);
    if (request_.lv_id >= 0) return report_for_each_group(SSD_OP_EVENT_STORAGE_CREATED);
    SM_TRACE(SM_TRACE_ERROR, "%s: [Record(%d)] Fail to create test storage!\n", kFunction,
             record_.record_no);
    remove_raid_configurations(groups_);
    if (!move(SSD_OP_TEST_STATUS_INITIATING, SSD_OP_TEST_STATUS_FAILED)) return;
    SM_TRACE(SM_TRACE_INFO,
             "%s: [Record(%d)] Status is initiating but creating storage fails, so set status to "
             "\"Failed\".\n",
             kFunction, record_.record_no);
    succeeded_ = false;
    report(SSD_OP_EVENT_FAILED);
}

void Run::test() {
    if (!move(SSD_OP_TEST_STATUS_INITIATING, SSD_OP_TEST_STATUS_TESTING)) {
        SM_TRACE(SM_TRACE_INFO, "%s: [LV(%d), Record(%d)] status[1]: %d\n", kFunction,
                 request_.lv_id, record_.record_no, status_of(record_.record_no));
        succeeded_ = false;
        return;
    }
    if (!succeeds([&] { return run_script(request_, record_); })) fail_test();

    if (!move(SSD_OP_TEST_STATUS_TESTING, SSD_OP_TEST_STATUS_FINISHING)) {
        SM_TRACE(SM_TRACE_INFO, "%s: [LV(%d), Record(%d)] status[2]: %d\n", kFunction,
                 request_.lv_id, record_.record_no, status_of(record_.record_no));
        succeeded_ = false;
        return;
    }
    progress_while_finishing(1);
}

void Run::fail_test() {
    SM_TRACE(SM_TRACE_ERROR, "%s: [LV(%d), Record(%d)] Fail to test SSD OP!\n", kFunction,
             request_.lv_id, record_.record_no);
    succeeded_ = false;
    if (!move(SSD_OP_TEST_STATUS_TESTING, SSD_OP_TEST_STATUS_FAILED)) return;
    SM_TRACE(SM_TRACE_INFO,
             "%s: [LV(%d), Record(%d)] Status is testing but test return fail, so set status to "
             "\"Failed\".\n",
             kFunction, request_.lv_id, record_.record_no);
    for (const RAID_CONF* group : groups_) {
        const int raid_id = group->raid_id >= kFirstRaidId ? group->raid_id : -1;
        report(SSD_OP_EVENT_FAILED, &raid_id);
    }
}

void Run::capture_results() {
    progress_while_finishing(30);
    if (!succeeds([&] { return save_results(request_, record_); })) {
        SM_TRACE(SM_TRACE_ERROR, "%s: [LV(%d), Record(%d)] Fail to save test result!\n", kFunction,
                 request_.lv_id, record_.record_no);
        succeeded_ = false;
    }
    progress_while_finishing(60);
}

void Run::remove_storage() {
    if (request_.lv_id > 0 && removed_at_once_or_later())
        report_for_each_group(SSD_OP_EVENT_STORAGE_REMOVED);
}

bool Run::removed_at_once_or_later() {
    if (evaluation::remove_storage(request_.lv_id) >= 0) return true;
    SM_TRACE(SM_TRACE_ERROR, "%s: [LV(%d), Record(%d)] Fail to remove test storage 1st time!\n",
             kFunction, request_.lv_id, record_.record_no);
    // Whatever still works on the drives keeps the volume busy.
    succeeds(
        [&] { return stop_work(record_.record_no, false, SSD_OP_TEST_STATUS_INITIATING, 0) == 0; });
    if (evaluation::remove_storage(request_.lv_id) >= 0) return true;
    SM_TRACE(SM_TRACE_ERROR, "%s: [LV(%d), Record(%d)] Fail to remove test storage 2nd time!\n",
             kFunction, request_.lv_id, record_.record_no);
    return false;
}

void Run::store_end_time() {
    record_.end_time = std::time(nullptr);
    db::update_end_time(record_.record_no, static_cast<int>(record_.end_time));
}

void Run::upload() {
    const auto section = runtime::addon_global_section();
    if (!section || section->read(runtime::kUserAgreement) != 1) return;
    report(SSD_OP_EVENT_UPLOADING);
    event::ssd_op_analytics_upload(&record_);
}

void Run::restart_stopped_services() {
    services_wait_ = record_.stop_service != 0 && !restart_services(record_.record_no);
}

/// No driver that ends leaves a record that seems to run: a database that cannot be written for a
/// while, as on a full volume, is waited for.
void Run::complete() noexcept {
    constexpr int kTries = 60;
    for (int tries = 1; !store_final_status(); ++tries) {
        if (tries == kTries) {
            succeeded_ = false;
            return;
        }
        ::sleep(1);
    }
}

/// True when the record has a status to stay with, by this or by a stop.
bool Run::store_final_status() noexcept {
    struct Ending {
        int from, to, event;
    };
    for (const Ending& ending :
         {Ending{SSD_OP_TEST_STATUS_FINISHING, SSD_OP_TEST_STATUS_COMPLETED,
                 SSD_OP_EVENT_COMPLETED},
          Ending{SSD_OP_TEST_STATUS_TESTING, SSD_OP_TEST_STATUS_FAILED, SSD_OP_EVENT_FAILED},
          Ending{SSD_OP_TEST_STATUS_INITIATING, SSD_OP_TEST_STATUS_FAILED, SSD_OP_EVENT_FAILED},
          Ending{SSD_OP_TEST_STATUS_NEW, SSD_OP_TEST_STATUS_FAILED, SSD_OP_EVENT_FAILED}}) {
        const StatusChange outcome = move_status(record_.record_no, ending.from, ending.to);
        if (outcome == StatusChange::kNotWritten) return false;
        if (outcome == StatusChange::kWasOther) continue;
        if (ending.to == SSD_OP_TEST_STATUS_FAILED) succeeded_ = false;
        report(ending.event);
        return true;
    }
    return true;
}

bool Run::move(int from, int to) const {
    return move_status(record_.record_no, from, to) == StatusChange::kChanged;
}

void Run::progress_while_finishing(int percent) const {
    if (status_of(record_.record_no) == SSD_OP_TEST_STATUS_FINISHING)
        runtime::runtime_info(record_.record_no).write(runtime::kStepProgress, percent);
}

void Run::report(int type, const void* detail) const {
    event::write(requester_, type, &record_.record_no, detail);
}

void Run::report_for_each_group(int type) const {
    for (const RAID_CONF* group : groups_) event::write(requester_, type, nullptr, &group->raid_id);
}

}  // namespace ssd_op::evaluation
