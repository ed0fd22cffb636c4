#include "base/child.h"
#include "evaluation/storage/marks.h"
#include "evaluation/storage/storage.h"
#include "platform/naslog.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kFunction = "SSD_OP_Test_Remove_Storage";

enum Failure { kNoVolume = -12, kNoPool = -50 };

int remove_volume_and_pool(int lv_id, int pool_id) {
    const SpeedDown registration;
    SM_TRACE(SM_TRACE_INFO, "%s: [LV(%d)] Destroy SSD OP storage...\n", kFunction, lv_id);
    const RemovingMark mark(pool_id);
    if (const int result = LV_Destroy(lv_id); result != 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: [LV(%d)] Fail to destroy logical volume!\n", kFunction,
                 lv_id);
        return result;
    }
    return NAS_Pool_Remove(pool_id, 0, 0);
}

}  // namespace

int remove_storage(int lv_id, int need_fork) {
    SM_TRACE(SM_TRACE_INFO, "%s got called! lv_id = %d, need_fork = %d.\n", kFunction, lv_id,
             need_fork);
    if (LV_Is_Exist(lv_id) == 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: [LV(%d)] LV doesn't exist.\n", kFunction, lv_id);
        return kNoVolume;
    }
    const int pool_id = LV_Get_Pool_Id(lv_id);
    if (pool_id < 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: [LV(%d)] Unable to get underlying pool ID of cache volume.\n",
                 kFunction, lv_id);
        return kNoPool;
    }
    if (need_fork != 0 && !base::fork_process().in_child()) return 0;

    const int result = remove_volume_and_pool(lv_id, pool_id);
    SM_TRACE(SM_TRACE_INFO, "%s: [LV(%d)] %s to remove SSD OP storage.\n", kFunction, lv_id,
             result < 0 ? "Fail" : "Succeed");
    return result;
}

}  // namespace ssd_op::evaluation
