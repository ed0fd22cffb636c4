#include "evaluation/driver/start.h"

#include <unistd.h>

#include "base/boundary.h"
#include "base/child.h"
#include "base/file_lock.h"
#include "db/database.h"
#include "db/location.h"
#include "db/records.h"
#include "evaluation/driver/record_building.h"
#include "evaluation/driver/request.h"
#include "evaluation/driver/run.h"
#include "evaluation/drives/groups.h"
#include "evaluation/state/driver_presence.h"
#include "evaluation/state/raid_ids.h"
#include "evaluation/storage/storage.h"
#include "history/history.h"
#include "platform/naslog.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kFunction = "NAS_SSD_OP_Test_Start";

/// Creates the record under the number foretold; null when that fails. No other record may come
/// between, and the lock is held no longer than that takes.
db::RecordOwner create_record(const ssd_op_test_param& request,
                              const std::vector<RAID_CONF*>& groups) {
    db::set_location(SSD_OP_DB_LOCATION_VOLUME);
    if (!reserve_raid_ids(groups)) return nullptr;
    db::RecordOwner record = build_record(request, groups);
    int record_no = 0;
    bool created = false;
    {
        const auto lock = base::FileLock::for_writing(db::kDatabaseLock);
        record_no = db::query_newest_record().value_or(-1) + 1;
        SM_TRACE(SM_TRACE_INFO, "%s: record_no: %d\n", kFunction, record_no);
        created = db::create_record(*record);
    }
    if (created && record->record_no == record_no) return record;
    SM_TRACE(SM_TRACE_ERROR,
             "%s: [Record(%d)] Failed to new record or record number is different with "
             "datbase(%d)!\n",
             kFunction, record_no, record->record_no);
    if (created) history::delete_record(record->record_no);
    remove_raid_configurations(groups);
    return nullptr;
}

/// Goes on in a process of its own. Returns the record's number in this one.
int run_in_child(Run& run, int record_no) {
    const base::Fork side = base::fork_process();
    if (side.failed()) {
        SM_TRACE(SM_TRACE_ERROR, "%s: [Record(%d)] Fail to fork!\n", kFunction, record_no);
        run.give_up();
        return -1;
    }
    // Both sides say who drives it now, each before it goes on: the announcement outlives this
    // process, and a driver that could not be known as one does not begin.
    const bool announced = announce_driver(record_no, side.in_child() ? ::getpid() : side.child());
    if (!side.in_child()) return record_no;
    if (announced) return run.carry_out() ? record_no : -1;
    run.give_up();
    return -1;
}

}  // namespace

int start_evaluation(const ssd_op_requester* requester, int need_fork, RAID_CONF* raid_list,
                     ssd_op_test_param* request) {
    SM_TRACE(SM_TRACE_INFO, "%s got called. need_fork: %d.\n", kFunction, need_fork);
    if (!is_valid_layout(raid_list)) {
        SM_TRACE(SM_TRACE_ERROR, "%s: RIAD configuration is wrong!\n", kFunction);
        return kBadLayout;
    }
    const auto groups = groups_of(raid_list);
    const char* refusal = request == nullptr ? "there is none" : refusal_of(*request, groups);
    if (refusal != nullptr) {
        SM_TRACE(SM_TRACE_ERROR, "%s: The request is refused: %s!\n", kFunction, refusal);
        return -1;
    }
    if (request->min_op == request->max_op) request->interval = 1;
    // A request that served before still names that evaluation's volume and files.
    request->lv_id = 0;
    request->log_prefix[0] = '\0';

    const db::RecordOwner record = create_record(*request, groups);
    if (!record) return -1;
    Run run(requester, raid_list, groups, *request, *record);
    if (!base::guarded(kFunction, false, [&] { return run.begin(); })) {
        run.give_up();
        return -1;
    }
    if (need_fork != 0) return run_in_child(run, record->record_no);
    return run.carry_out() ? record->record_no : -1;
}

}  // namespace ssd_op::evaluation
