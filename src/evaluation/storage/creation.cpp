#include <unistd.h>

#include "base/boundary.h"
#include "db/records.h"
#include "evaluation/drives/discard.h"
#include "evaluation/drives/groups.h"
#include "evaluation/drives/performance.h"
#include "evaluation/state/status.h"
#include "evaluation/storage/marks.h"
#include "evaluation/storage/services.h"
#include "evaluation/storage/storage.h"
#include "platform/naslog.h"
#include "runtime/state_section.h"
#include "shared/ranges.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kFunction = "SSD_OP_Test_Create_Storage";

enum Failure { kStopped = -1, kNoPool = -15, kNoVolume = -24 };

/// What is checked before a measurement and after its failure, the progress behind it, its kind.
struct MeasurementStep {
    const char* checkpoint;
    const char* checkpoint_after_failure;
    int progress;
    bool sequential;
    bool read;
};
constexpr MeasurementStep kMeasurements[] = {
    {"4", "4_1", 39, true, true},
    {"5", "5_1", 52, true, false},
    {"6", "6_1", 65, false, true},
    {"7", "7_1", 78, false, false},
};

class StorageCreation {
  public:
    StorageCreation(RAID_CONF* raid_list, const ssd_op_test_param& request,
                    ssd_op_db_record& record)
        : raid_list_(raid_list), request_(request), record_(record) {}
    /// The volume's id, a Failure or kCreationOutOfMemory.
    int create();

  private:
    int build();
    bool prepare_drives();
    bool stop_services();
    bool discard_drives();
    bool measure(const MeasurementStep& step);
    int create_pool(InitializingMark& mark, int expected_id);
    void store_raid_capacities();
    int create_volume(int pool_id);
    void store_sizes(int lv_id);

    bool passes_checkpoint(const char* checkpoint) const;
    bool pauses_after_failure(const char* checkpoint) const;
    void progress(int percent) const {
        runtime::runtime_info(record_.record_no).write(runtime::kStepProgress, percent);
    }

    RAID_CONF* raid_list_;
    const ssd_op_test_param& request_;
    ssd_op_db_record& record_;
};

int StorageCreation::create() {
    const int result = [&] {
        const SpeedDown registration;
        const int outcome = base::guarded(kFunction, kCreationOutOfMemory, [&] { return build(); });
        progress(100);
        return outcome;
    }();
    SM_TRACE(SM_TRACE_INFO, "%s: %s to create SSD OP.\n", kFunction,
             result < 0 ? "Fail" : "Succeed");
    ::sleep(1);
    return result;
}

int StorageCreation::build() {
    progress(1);
    if (!prepare_drives()) return kStopped;

    const int expected_id = Pool_Get_Next_Available_Id(0, POOL_KIND_CACHE);
    if (expected_id < 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Unable to get a pool id.\n", kFunction);
        return kNoPool;
    }
    InitializingMark mark(expected_id);
    const int pool_id = create_pool(mark, expected_id);
    if (pool_id < 0) return kNoPool;
    const int lv_id = create_volume(pool_id);
    if (lv_id < 0) return kNoVolume;
    store_sizes(lv_id);
    return lv_id;
}

/// False when the evaluation was stopped on the way. Failed discards and measurements are only
/// reported: the evaluation itself will show what they are worth.
bool StorageCreation::prepare_drives() {
    if (record_.stop_service != 0 && !stop_services()) return false;
    if (!passes_checkpoint("3") || !discard_drives()) return false;
    for (const MeasurementStep& step : kMeasurements) {
        if (!measure(step)) return false;
    }
    return passes_checkpoint("8");
}

bool StorageCreation::stop_services() {
    if (!passes_checkpoint("1")) return false;
    stop_service("services.sh", record_.record_no);
    if (!passes_checkpoint("2")) return false;
    stop_service("rsyncd.sh", record_.record_no);
    progress(13);
    return true;
}

bool StorageCreation::discard_drives() {
    if (ssd_op_test_block_discard_disk_before_performance_test(raid_list_) != 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to do block discard!\n", kFunction);
        if (!pauses_after_failure("3_1")) return false;
    }
    progress(26);
    return true;
}

bool StorageCreation::measure(const MeasurementStep& step) {
    if (!passes_checkpoint(step.checkpoint)) return false;
    const int result = ssd_op_test_performance_test(&record_.record_no, &record_.raid_conf,
                                                    raid_list_, step.sequential, step.read);
    if (result != 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to do %s %s!\n", kFunction,
                 step.sequential ? "sequential" : "random", step.read ? "read" : "write");
        if (!pauses_after_failure(step.checkpoint_after_failure)) return false;
    }
    progress(step.progress);
    return true;
}

int StorageCreation::create_pool(InitializingMark& mark, int expected_id) {
    POOL_CREATE_OPTIONS options{};
    options.owner = -1;
    const int pool_id = NAS_Pool_Create(raid_list_, 0, 0, &options, nullptr);
    if (pool_id < 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Unable to create a new storage pool.\n", kFunction);
        return pool_id;
    }
    store_raid_capacities();
    progress(91);
    if (pool_id != expected_id) {
        SM_TRACE(SM_TRACE_ERROR, "%s: pool id mismatch unexpectedly.\n", kFunction);
        mark.move_to(pool_id);
    }
    return pool_id;
}

void StorageCreation::store_raid_capacities() {
    for (const RAID_CONF* group : groups_of(raid_list_)) {
        RAID_INFO info{};
        RAID_Get_Info(group->raid_id, 0, &info);
        db::update_raid_capacity(record_.record_no, group->raid_id, info.capacity_kib);
        for (auto& stored : shared::groups(record_)) {
            if (stored.raid_id == group->raid_id) stored.raid_capacity = info.capacity_kib;
        }
    }
}

int StorageCreation::create_volume(int pool_id) {
    LV_CREATE_REQUEST volume{};
    volume.pool_id = pool_id;
    volume.type = LV_TYPE_TEST;
    volume.mode = raid_list_->next != nullptr ? LV_MODE_STRIPED : 0;
    volume.lv_id = LV_Get_Next_Available_Id(1, LV_TYPE_TEST);
    if (volume.lv_id < 0 || LV_Create(&volume, 0, 0) == -1) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to create logical volume!\n", kFunction);
        NAS_Pool_Remove(pool_id, 0, 0);
        return -1;
    }
    return volume.lv_id;
}

void StorageCreation::store_sizes(int lv_id) {
    uint64_t sectors = 0;
    LV_Get_Size(lv_id, &sectors);
    const uint64_t size_mib = sectors >> 11;
    db::update_lv_size(record_.record_no, size_mib);
    if (request_.test_size != 0) return;
    record_.test_size = size_mib;
    db::update_test_size(record_.record_no, size_mib);
}

bool StorageCreation::passes_checkpoint(const char* checkpoint) const {
    if (status_of(record_.record_no) == SSD_OP_TEST_STATUS_INITIATING) return true;
    SM_TRACE(SM_TRACE_ERROR, "%s: Testing is stopped[%s]!\n", kFunction, checkpoint);
    return false;
}

bool StorageCreation::pauses_after_failure(const char* checkpoint) const {
    if (!passes_checkpoint(checkpoint)) return false;
    ::sleep(10);
    return true;
}

}  // namespace

void trace_creation(int need_fork) {
    SM_TRACE(SM_TRACE_INFO, "%s got called! need_fork = %d.\n", kFunction, need_fork);
}

int create_storage(RAID_CONF* raid_list, const ssd_op_test_param& request,
                   ssd_op_db_record& record) {
    return StorageCreation(raid_list, request, record).create();
}

}  // namespace ssd_op::evaluation
