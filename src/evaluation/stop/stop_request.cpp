#include <algorithm>
#include <optional>
#include <vector>

#include <unistd.h>

#include "base/boundary.h"
#include "base/child.h"
#include "db/record_owner.h"
#include "db/running_records.h"
#include "evaluation/state/raid_ids.h"
#include "evaluation/state/status.h"
#include "evaluation/state/status_change.h"
#include "evaluation/stop/stop.h"
#include "evaluation/storage/services.h"
#include "event/event.h"
#include "platform/naslog.h"
#include "platform/storage.h"
#include "runtime/state_section.h"
#include "shared/appliance_state.h"
#include "shared/ranges.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kFunction = "NAS_SSD_OP_Test_Stop";
constexpr int kMaxRaidWaits = 60;  // seconds, for all records together
constexpr int kSettleSeconds = 5;

bool has_group(const ssd_op_db_record& record, int raid_id) {
    return std::ranges::any_of(shared::groups(record),
                               [&](const auto& group) { return group.raid_id == raid_id; });
}

/// Whether the record is to be stopped; nothing when the database does not tell.
std::optional<bool> is_meant(const StopRequest& request, int record_no) {
    const std::optional<int> status = db::stored_status(record_no);
    if (!status && db::record_exists(record_no) == false) return false;
    if (!status) return std::nullopt;
    if (!is_running(*status)) return false;
    if (request.raid_id < kFirstRaidId) return true;
    const db::RecordOwner record = db::load_record(record_no);
    if (!record) return std::nullopt;
    return has_group(*record, request.raid_id);
}

struct Chosen {
    std::vector<int> numbers;
    bool is_complete = true;  ///< the database told of all
};

/// Nothing when the database does not tell which evaluations run.
std::optional<Chosen> records_to_stop(const StopRequest& request) {
    const auto candidates = request.record_no == SSD_OP_ALL_RECORDS
                                ? db::running_records(SSD_OP_MAX_RECORDS)
                                : std::vector<int>{request.record_no};
    if (!candidates) return std::nullopt;
    Chosen chosen;
    for (const int record_no : *candidates) {
        const std::optional<bool> meant = is_meant(request, record_no);
        chosen.is_complete = chosen.is_complete && meant.has_value();
        if (meant.value_or(false)) chosen.numbers.push_back(record_no);
    }
    SM_TRACE(SM_TRACE_INFO, "%s: [Record(%d)] do_record_count: %d.\n", kFunction, request.record_no,
             static_cast<int>(chosen.numbers.size()));
    for (size_t i = 0; i < chosen.numbers.size(); ++i) {
        SM_TRACE(SM_TRACE_INFO, "%s: [Record(%d)] do_record_no_list[%d]: %d.\n", kFunction,
                 request.record_no, static_cast<int>(i), chosen.numbers[i]);
    }
    return chosen;
}

/// What became of marking a record.
struct Marked {
    int result;
    int old_status;
    int old_step_progress;
};

void report_mark(const StopRequest& request, int record_no) {
    const bool failed = request.type == SSD_OP_STOP_FAILED;
    event::write(request.requester, failed ? SSD_OP_EVENT_FAILED : SSD_OP_EVENT_STOPPED, &record_no,
                 failed ? &request.raid_id : nullptr);
}

/// Marks the record and tells the user, before anything of it is killed: its driver sees why. A
/// driver that moves it on meanwhile only moves it forward, so that a few looks are enough.
Marked mark(const StopRequest& request, int record_no) {
    constexpr int kLooks = 8;
    const bool changes = request.type == SSD_OP_STOP_FAILED || request.type == SSD_OP_STOP_BY_USER;
    const int new_status =
        request.type == SSD_OP_STOP_FAILED ? SSD_OP_TEST_STATUS_FAILED : SSD_OP_TEST_STATUS_STOPPED;
    Marked marked{-1, 0, 0};
    for (int looks = 0; looks < kLooks; ++looks) {
        const auto status = db::stored_status(record_no);
        if (!status) break;
        marked.old_status = *status;
        marked.old_step_progress = runtime::runtime_info(record_no)
                                       .read(runtime::kStepProgress)
                                       .value_or(marked.old_step_progress);
        if (!changes || !is_running(*status)) {
            marked.result = 0;
            break;
        }
        const StatusChange outcome = move_status(record_no, *status, new_status);
        if (outcome == StatusChange::kWasOther) continue;
        if (outcome == StatusChange::kNotWritten) break;
        report_mark(request, record_no);
        marked.result = 0;
        break;
    }
    return marked;
}

int stop_record(const StopRequest& request, int record_no) {
    const Marked marked = mark(request, record_no);
    if (!is_running(marked.old_status)) return marked.result;  // it ended by itself since
    // Whatever becomes of this record, the others are stopped as well.
    const int result = base::guarded(kFunction, -1, [&] {
        return stop_work(record_no, request.remove_storage != 0, marked.old_status,
                         marked.old_step_progress);
    });
    ::sleep(1);
    return marked.result | result;
}

/// Waits until the groups of the stopped records are gone, a minute for all of them.
class RaidWait {
  public:
    explicit RaidWait(int asked_record_no) : asked_record_no_(asked_record_no) {}

    void wait_for(int record_no) {
        if (waited_ >= kMaxRaidWaits) return;
        const db::RecordOwner record = db::load_record(record_no);
        if (!record) return;
        for (const auto& group : shared::groups(*record)) wait_for_group(group.raid_id);
        services_were_stopped_ |= record->stop_service != 0;
    }

    /// Whether one of the records had stopped the services. A record whose turn did not come within
    /// the minute does not count.
    bool services_were_stopped() const { return services_were_stopped_; }

  private:
    void wait_for_group(int raid_id) {
        while (waited_ < kMaxRaidWaits && raid_id >= kFirstRaidId && RAID_Is_Exist(raid_id) != 0) {
            SM_TRACE(SM_TRACE_INFO,
                     "%s: [Record(%d)] RAID(%d) still exists with sleep_count(%d).\n", kFunction,
                     asked_record_no_, raid_id, waited_);
            ::sleep(1);
            ++waited_;
        }
    }

    int asked_record_no_;
    int waited_ = 0;
    bool services_were_stopped_ = false;
};

}  // namespace

int stop_records(const StopRequest& request, int need_fork) {
    SM_TRACE(SM_TRACE_INFO,
             "%s got called. need_fork: %d, record_no: %d, raid_id:%d, remove_storage: %d, type: "
             "%d.\n",
             kFunction, need_fork, request.record_no, request.raid_id, request.remove_storage,
             request.type);
    if (request.type == SSD_OP_STOP_NONE) {
        SM_TRACE(SM_TRACE_ERROR, "%s: [Record(%d)] Type is none!\n", kFunction, request.record_no);
        return -1;
    }
    const auto count = db::query_record_count();
    if (count.value_or(0) < 1) {
        SM_TRACE(SM_TRACE_ERROR, "%s: [Record(%d)] No record in database!\n", kFunction,
                 request.record_no);
        return count ? 0 : -1;
    }
    const auto chosen = records_to_stop(request);
    if (!chosen) return -1;
    int result = chosen->is_complete ? 0 : -1;
    if (chosen->numbers.empty()) {
        SM_TRACE(SM_TRACE_INFO, "%s: [Record(%d)] No need to stop test.\n", kFunction,
                 request.record_no);
        return result;
    }
    for (const int record_no : chosen->numbers) result |= stop_record(request, record_no);
    RaidWait wait(request.record_no);
    for (const int record_no : chosen->numbers) wait.wait_for(record_no);
    ::sleep(kSettleSeconds);
    // Starting the services takes a while that the caller need not wait. Without a process for it
    // they stay as they are.
    if (need_fork != 0 && !base::fork_process().in_child()) return result;
    if (wait.services_were_stopped() && shared::appliance_is_up()) restart_services(kNoRecord);
    SM_TRACE(SM_TRACE_INFO, "%s: [Record(%d)] %s to stop SSD OP testing.\n", kFunction,
             request.record_no, result < 0 ? "Fail" : "Succeed");
    return result;
}

}  // namespace ssd_op::evaluation
