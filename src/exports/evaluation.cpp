// Running an evaluation: start, stop, and the steps of a run that others may take by themselves.

#include <unistd.h>

#include "base/boundary.h"
#include "base/child.h"
#include "evaluation/driver/start.h"
#include "evaluation/script/script.h"
#include "evaluation/stop/stop.h"
#include "evaluation/storage/storage.h"
#include "exports/answer.h"

using namespace ssd_op;
using namespace ssd_op::exports;

int NAS_SSD_OP_Test_Start(const void* requester, int need_fork, RAID_CONF* local_raid_conf,
                          ssd_op_test_param* param) {
    return base::guarded(__func__, -1, [&] {
        return evaluation::start_evaluation(static_cast<const ssd_op_requester*>(requester),
                                            need_fork, local_raid_conf, param);
    });
}

int SSD_OP_Test_Check_RAID(RAID_CONF* raid_list) {
    return base::guarded(__func__, evaluation::kBadLayout, [&] {
        return evaluation::is_valid_layout(raid_list) ? 0 : evaluation::kBadLayout;
    });
}

int SSD_OP_Test_Create_Storage(RAID_CONF* raid_list, int need_fork, ssd_op_test_param* param,
                               ssd_op_db_record* record) {
    constexpr const char* kFunction = __func__;
    return base::guarded(kFunction, evaluation::kCreationOutOfMemory, [&] {
        evaluation::trace_creation(need_fork);
        if (!evaluation::is_valid_layout(raid_list)) {
            SM_TRACE(SM_TRACE_ERROR, "%s: RIAD configuration is wrong!\n", kFunction);
            return evaluation::kBadLayout;
        }
        if (param == nullptr || record == nullptr) return parameter_error(kFunction);
        if (need_fork != 0 && !base::fork_process().in_child()) {
            ::sleep(1);
            return -1;
        }
        return evaluation::create_storage(raid_list, *param, *record);
    });
}

int SSD_OP_Test_Remove_Storage(int lv_id, int need_fork) {
    return base::guarded(__func__, -1,
                         [&] { return evaluation::remove_storage(lv_id, need_fork); });
}

int SSD_OP_Test_Start(ssd_op_test_param* param, ssd_op_db_record* record) {
    if (param == nullptr || record == nullptr) return parameter_error(__func__);
    return base::guarded(__func__, -1,
                         [&] { return answer(evaluation::run_script(*param, *record)); });
}

int SSD_OP_Test_Save_Result(const ssd_op_test_param* param, ssd_op_db_record* record) {
    if (param == nullptr || record == nullptr) return parameter_error(__func__);
    return base::guarded(__func__, -1,
                         [&] { return answer(evaluation::save_results(*param, *record)); });
}

int NAS_SSD_OP_Test_Stop(const void* requester, int need_fork, int record_no, int raid_id,
                         int remove_storage, int type) {
    return base::guarded(__func__, -1, [&] {
        return evaluation::stop_records({static_cast<const ssd_op_requester*>(requester), record_no,
                                         raid_id, remove_storage, type},
                                        need_fork);
    });
}

int SSD_OP_Test_Stop(int record_no, int, int remove_storage, int old_status,
                     int old_step_progress) {
    return base::guarded(__func__, -1, [&] {
        return evaluation::stop_work(record_no, remove_storage != 0, old_status, old_step_progress);
    });
}
