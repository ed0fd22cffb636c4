#include "base/boundary.h"
#include "base/child.h"
#include "base/file_lock.h"
#include "db/database.h"
#include "evaluation/evaluation.h"
#include "evaluation/groups.h"
#include "evaluation/raid_ids.h"
#include "evaluation/ratios.h"
#include "evaluation/record_building.h"
#include "evaluation/request.h"
#include "evaluation/run.h"
#include "platform/naslog.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kFunction = "NAS_SSD_OP_Test_Start";

/// Reserves the groups' ids and creates the record; null when either fails.
db::RecordOwner create_record(const ssd_op_test_param& request,
                              const std::vector<RAID_CONF*>& groups) {
    SSD_OP_DB_Set_Location(SSD_OP_DB_LOCATION_VOLUME);
    // The number foretold is the number given: no other record may come between.
    const auto lock = base::FileLock::for_writing(db::kDatabaseLock);
    const int record_no = SSD_OP_DB_Get_Newest_Record() + 1;
    SM_TRACE(SM_TRACE_INFO, "%s: record_no: %d\n", kFunction, record_no);
    if (!reserve_raid_ids(groups)) return nullptr;
    db::RecordOwner record = build_record(request, groups);
    if (SSD_OP_DB_New_Record(record.get()) == 0 && record->record_no == record_no) return record;
    SM_TRACE(SM_TRACE_ERROR,
             "%s: [Record(%d)] Failed to new record or record number is different with "
             "datbase(%d)!\n",
             kFunction, record_no, record->record_no);
    remove_raid_configurations(groups);
    return nullptr;
}

/// From here on the record counts as running.
void initiate(const void* requester, const ssd_op_db_record& record) {
    SSD_OP_Test_Remove_Runtime_Info(record.record_no);
    const int64_t count = ratio_count(record.min_op, record.max_op, record.interval);
    SSD_OP_Test_Set_OP_Count(record.record_no, static_cast<int>(count));
    SSD_OP_Write_System_Log(requester, SSD_OP_EVENT_STARTED, &record.record_no, nullptr);
    SSD_OP_Test_Set_Status(record.record_no, SSD_OP_TEST_STATUS_INITIATING);
}

int start(const void* requester, int need_fork, RAID_CONF* raid_list, ssd_op_test_param* request) {
    SM_TRACE(SM_TRACE_INFO, "%s got called. need_fork: %d.\n", kFunction, need_fork);
    if (const int layout = SSD_OP_Test_Check_RAID(raid_list); layout != 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: RIAD configuration is wrong!\n", kFunction);
        return layout;
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
    initiate(requester, *record);
    Run run(requester, raid_list, groups, *request, *record);
    if (need_fork != 0) {
        const base::Fork side = base::fork_process();
        if (side.failed()) {
            run.give_up();
            return -1;
        }
        if (!side.in_child()) return record->record_no;
    }
    return run.finish() ? record->record_no : -1;
}

}  // namespace

}  // namespace ssd_op::evaluation

extern "C" int NAS_SSD_OP_Test_Start(const void* requester, int need_fork,
                                     RAID_CONF* local_raid_conf, ssd_op_test_param* param) {
    using namespace ssd_op;
    return base::guarded(evaluation::kFunction, -1, [&] {
        return evaluation::start(requester, need_fork, local_raid_conf, param);
    });
}
