#include <algorithm>
#include <vector>

#include <unistd.h>

#include "base/boundary.h"
#include "base/text.h"
#include "db/record_owner.h"
#include "evaluation/drive_name.h"
#include "evaluation/driver_presence.h"
#include "evaluation/evaluation.h"
#include "evaluation/owners.h"
#include "evaluation/stop_programs.h"
#include "platform/naslog.h"
#include "platform/storage.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kFunction = "SSD_OP_Test_Stop";

constexpr const char* kServiceStoppers[] = {"services.sh stop", "rsyncd.sh stop", nullptr};
constexpr const char* kDriveUsers[] = {"kblkdiscard", "hdparm", "fio", nullptr};
constexpr const char* kPartitionUsers[] = {"kblkdiscard", nullptr};
constexpr const char* kTestPrograms[] = {"test-all.sh", "SOPT.sh",       "kblkdiscard",
                                         "fio",         "disk_opr_util", nullptr};

constexpr int kFirstTestVolume = 1568;
constexpr int kLastTestVolume = 1599;
constexpr int kMaxVolumes = 1600;

/// Kills what works on the drives and volumes of one record, and takes the volumes down when asked.
class RecordStop {
  public:
    RecordStop(const ssd_op_db_record& record, bool remove_storage)
        : record_(record), remove_storage_(remove_storage) {}
    int stop(int old_status, int old_step_progress);

  private:
    void kill_service_stopper();
    void kill_drive_users();
    bool kill_partition_users(const ssd_op_db_raid_conf& group);
    void kill_early_partition_users();
    bool may_remove_remains(int old_status) const;
    void stop_volumes(bool remove_rest);
    void kill_test_programs(const char* volume);
    void remove_volume(int lv_id);
    void remove_pool(int pool_id);
    int remove_configurations() const;
    void report_removal();

    const ssd_op_db_record& record_;
    bool remove_storage_;
    bool removal_reported_ = false;
    int result_ = 0;
};

int drive_count(const ssd_op_db_raid_conf& group) {
    return std::clamp(group.ssd_drive_num, 0, SSD_OP_MAX_DRIVES);
}

int RecordStop::stop(int old_status, int old_step_progress) {
    for (const auto* group = record_.raid_conf; group != nullptr; group = group->next) {
        if (RAID_Is_Exist(group->raid_id) != 0) continue;
        SM_TRACE(SM_TRACE_ERROR, "%s: RAID(%d) is nt exist.\n", kFunction, group->raid_id);
        // A stop that was killed may have removed some of the configurations.
        return may_remove_remains(old_status) ? remove_configurations() : 0;
    }
    SM_TRACE(SM_TRACE_INFO, "%s: [Record(%d)] old_status: %d.\n", kFunction, record_.record_no,
             old_status);
    if (old_status == SSD_OP_TEST_STATUS_INITIATING) {
        SM_TRACE(SM_TRACE_INFO, "%s: [Record(%d)] old_step_progress: %d.\n", kFunction,
                 record_.record_no, old_step_progress);
        kill_service_stopper();
        kill_drive_users();
        kill_early_partition_users();
    }
    for (const auto* group = record_.raid_conf; group != nullptr; group = group->next)
        kill_partition_users(*group);
    stop_volumes(may_remove_remains(old_status));
    return result_;
}

/// Beside a driver that is making the storage or taking it down, its pool and groups are its own. A
/// record that has ended has no driver that would make any.
bool RecordStop::may_remove_remains(int old_status) const {
    return remove_storage_ && (!is_running(old_status) || driver_is_gone(record_.record_no));
}

void RecordStop::kill_service_stopper() {
    int pid = 0;
    if (record_.stop_service == 0) return;
    if (SSD_OP_Test_Get_Stop_Service_PID(record_.record_no, &pid) != 0 || pid <= 0) return;
    result_ |= kill_programs(kServiceStoppers, std::to_string(pid)).result;
}

void RecordStop::kill_drive_users() {
    for (const auto* group = record_.raid_conf; group != nullptr; group = group->next) {
        for (int i = 0; i < drive_count(*group); ++i) {
            if (const DriveName device = device_name(group->ssd_drives[i].dev_id))
                result_ |= kill_programs(kDriveUsers, device.text).result;
        }
    }
}

/// Whether a discard was found running.
bool RecordStop::kill_partition_users(const ssd_op_db_raid_conf& group) {
    bool found = false;
    for (int i = 0; i < drive_count(group); ++i) {
        const DriveName partition = partition_name(group.ssd_drives[i].dev_id);
        if (!partition) continue;
        const Killed killed = kill_programs(kPartitionUsers, partition.text);
        result_ |= killed.result;
        found |= killed.found_at_once;
    }
    return found;
}

/// While the storage is created, the next discard may follow on the one that was killed.
void RecordStop::kill_early_partition_users() {
    bool found = false;
    for (const auto* group = record_.raid_conf; group != nullptr; group = group->next) {
        found |= kill_partition_users(*group);
        if (found && group->next != nullptr) ::sleep(2);
    }
}

void RecordStop::stop_volumes(bool remove_rest) {
    if (record_.raid_conf == nullptr) return;
    const int pool_id = Pool_Get_Id_By_Member_Id(record_.raid_conf->raid_id);
    std::vector<int> volumes(kMaxVolumes);
    const int count = Pool_Enumerate_LV(pool_id, volumes.data(), kMaxVolumes, 0, 0);
    volumes.resize(static_cast<size_t>(std::clamp(count, 0, kMaxVolumes)));
    for (const int lv_id : volumes) {
        char name[64] = "";
        if (lv_id < kFirstTestVolume || lv_id > kLastTestVolume) continue;
        if (LV_Get_Name(lv_id, name, sizeof name) != 0) continue;
        kill_test_programs(std::string(base::field_text(name)).c_str());
        if (remove_storage_) remove_volume(lv_id);
    }
    if (!remove_rest) return;
    if (pool_id < 0)
        result_ |= remove_configurations();
    else if (count == 0)
        remove_pool(pool_id);
    forget_initializing(pool_id);
}

void RecordStop::kill_test_programs(const char* volume) {
    if (kill_programs(kTestPrograms, volume).result == 0) return;
    ::sleep(1);
    SM_TRACE(SM_TRACE_INFO, "%s: [Record(%d)] Try to kill again for testing process.\n", kFunction,
             record_.record_no);
    result_ |= kill_programs(kTestPrograms, volume).result;
}

void RecordStop::remove_volume(int lv_id) {
    const int removed = SSD_OP_Test_Remove_Storage(lv_id, 0);
    result_ |= removed;
    if (removed == 0) report_removal();
}

/// What a driver leaves that dies between the making of the pool and of the volume, or between
/// their removals.
void RecordStop::remove_pool(int pool_id) {
    const SpeedDown registration;
    const RemovingMark mark(pool_id);
    const int removed = NAS_Pool_Remove(pool_id, 0, 0);
    result_ |= removed;
    if (removed == 0) report_removal();
}

/// What a driver leaves that dies before it makes the pool.
int RecordStop::remove_configurations() const {
    int result = 0;
    for (const auto* group = record_.raid_conf; group != nullptr; group = group->next) {
        if (RAID_Is_Exist(group->raid_id) != 0) result |= RAID_Remove_Conf(group->raid_id);
    }
    return result;
}

/// As the driver does it: one event for each group.
void RecordStop::report_removal() {
    if (removal_reported_) return;
    removal_reported_ = true;
    for (const auto* group = record_.raid_conf; group != nullptr; group = group->next) {
        SSD_OP_Write_System_Log(nullptr, SSD_OP_EVENT_STORAGE_REMOVED, &record_.record_no,
                                &group->raid_id);
    }
}

}  // namespace

}  // namespace ssd_op::evaluation

extern "C" int SSD_OP_Test_Stop(int record_no, int, int remove_storage, int old_status,
                                int old_step_progress) {
    using namespace ssd_op;
    return base::guarded(evaluation::kFunction, -1, [&] {
        if (record_no < 1 || SSD_OP_DB_Record_Is_Exist(record_no) == 0) return 0;
        const auto record = db::load_record(record_no);
        if (!record) return 0;
        return evaluation::RecordStop(*record, remove_storage != 0)
            .stop(old_status, old_step_progress);
    });
}
