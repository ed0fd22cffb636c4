#include <algorithm>
#include <optional>
#include <vector>

#include <unistd.h>

#include "base/text.h"
#include "db/record_owner.h"
#include "db/running_records.h"
#include "evaluation/drives/drive_name.h"
#include "evaluation/state/driver_presence.h"
#include "evaluation/state/ownership.h"
#include "evaluation/state/status.h"
#include "evaluation/stop/stop.h"
#include "evaluation/stop/stop_programs.h"
#include "evaluation/storage/marks.h"
#include "evaluation/storage/storage.h"
#include "event/event.h"
#include "platform/naslog.h"
#include "platform/storage.h"
#include "runtime/state_section.h"
#include "shared/ranges.h"

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
/// Groups that have one of its numbers, but are another's, are left alone.
class RecordStop {
  public:
    RecordStop(const ssd_op_db_record& record, bool remove_storage)
        : record_(record), remove_storage_(remove_storage) {}
    int stop(int old_status, int old_step_progress);

  private:
    enum class Group { kOwn, kMissing, kOthers, kUnknown };
    Group whose(const ssd_op_db_raid_conf& group) const;
    Group look_at(const ssd_op_db_raid_conf& group) const;
    bool is_whole(const ssd_op_db_raid_conf& group) const;
    bool all_are_whole() const;
    void kill(const char* const programs[], const std::string& term);
    void kill_service_stopper();
    void kill_drive_users();
    bool kill_partition_users(const ssd_op_db_raid_conf& group);
    void kill_early_partition_users();
    bool may_remove_remains() const;
    void stop_volumes(bool remove_rest);
    void kill_test_programs(const std::string& volume);
    void remove_volume(int lv_id);
    void remove_pool(int pool_id);
    int remove_configurations() const;
    void report_removal();

    const ssd_op_db_record& record_;
    bool remove_storage_;
    bool removal_reported_ = false;
    int result_ = 0;
};

int RecordStop::stop(int old_status, int old_step_progress) {
    for (const auto& group : shared::groups(record_)) {
        const Group found = look_at(group);
        if (found == Group::kOwn) continue;
        if (found == Group::kUnknown) return -1;
        // A stop that was killed may have removed some of the configurations.
        return may_remove_remains() ? remove_configurations() : 0;
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
    for (const auto& group : shared::groups(record_)) kill_partition_users(group);
    stop_volumes(may_remove_remains());
    return result_;
}

RecordStop::Group RecordStop::whose(const ssd_op_db_raid_conf& group) const {
    if (RAID_Is_Exist(group.raid_id) == 0) return Group::kMissing;
    const auto newer = db::newer_record_has_group(record_.record_no, group.raid_id);
    if (!newer) return Group::kUnknown;
    return *newer || members_of(group) == Members::kOthers ? Group::kOthers : Group::kOwn;
}

/// The same, and says in the trace why a group is left alone.
RecordStop::Group RecordStop::look_at(const ssd_op_db_raid_conf& group) const {
    const Group found = whose(group);
    if (found == Group::kMissing)
        SM_TRACE(SM_TRACE_ERROR, "%s: RAID(%d) is nt exist.\n", kFunction, group.raid_id);
    if (found == Group::kOthers)
        SM_TRACE(SM_TRACE_ERROR, "%s: RAID(%d) is not record(%d)'s any more.\n", kFunction,
                 group.raid_id, record_.record_no);
    return found;
}

/// Certain enough to take a group away.
bool RecordStop::is_whole(const ssd_op_db_raid_conf& group) const {
    return whose(group) == Group::kOwn && is_surely_of(group, record_);
}

bool RecordStop::all_are_whole() const {
    return std::ranges::all_of(shared::groups(record_),
                               [&](const auto& group) { return is_whole(group); });
}

/// What a driver that lives is making or taking down is its own, whatever the record's status says.
bool RecordStop::may_remove_remains() const {
    if (!remove_storage_) return false;
    const Driver driver = driver_of(record_.record_no);
    if (driver == Driver::kUnknown) {
        SM_TRACE(SM_TRACE_ERROR,
                 "%s: [Record(%d)] Nothing is known of its driver: a pool without volumes and RAID "
                 "configurations stay.\n",
                 kFunction, record_.record_no);
    }
    return driver == Driver::kGone;
}

void RecordStop::kill(const char* const programs[], const std::string& term) {
    result_ |= ssd_op_test_stop_progs(programs, term.c_str());
}

void RecordStop::kill_service_stopper() {
    if (record_.stop_service == 0) return;
    const int pid =
        runtime::runtime_info(record_.record_no).read(runtime::kStopServicePid).value_or(0);
    if (pid > 0) kill(kServiceStoppers, std::to_string(pid));
}

void RecordStop::kill_drive_users() {
    for (const auto& group : shared::groups(record_)) {
        for (const auto& drive : shared::drives(group)) {
            if (const DriveName device = device_name(drive.dev_id)) kill(kDriveUsers, device.text);
        }
    }
}

/// Whether a discard was found running.
bool RecordStop::kill_partition_users(const ssd_op_db_raid_conf& group) {
    bool found = false;
    for (const auto& drive : shared::drives(group)) {
        const DriveName partition = partition_name(drive.dev_id);
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
    for (const auto& group : shared::groups(record_)) {
        found |= kill_partition_users(group);
        if (found && group.next != nullptr) ::sleep(2);
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
        kill_test_programs(std::string(base::field_text(name)));
        if (remove_storage_) remove_volume(lv_id);
    }
    if (!remove_rest) return;
    if (pool_id < 0) {
        result_ |= remove_configurations();
        return;
    }
    forget_initializing(pool_id);
    if (count == 0 && all_are_whole()) remove_pool(pool_id);
}

void RecordStop::kill_test_programs(const std::string& volume) {
    if (ssd_op_test_stop_progs(kTestPrograms, volume.c_str()) == 0) return;
    ::sleep(1);
    SM_TRACE(SM_TRACE_INFO, "%s: [Record(%d)] Try to kill again for testing process.\n", kFunction,
             record_.record_no);
    kill(kTestPrograms, volume);
}

void RecordStop::remove_volume(int lv_id) {
    const int removed = evaluation::remove_storage(lv_id);
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
    for (const auto& group : shared::groups(record_)) {
        if (is_whole(group)) result |= RAID_Remove_Conf(group.raid_id);
    }
    return result;
}

/// As the driver does it: one event for each group.
void RecordStop::report_removal() {
    if (removal_reported_) return;
    removal_reported_ = true;
    for (const auto& group : shared::groups(record_)) {
        event::write(nullptr, SSD_OP_EVENT_STORAGE_REMOVED, &record_.record_no, &group.raid_id);
    }
}

}  // namespace

int stop_work(int record_no, bool remove_storage, int old_status, int old_step_progress) {
    if (record_no < 1) return 0;
    if (db::record_exists(record_no) == false) return 0;
    const auto record = db::load_record(record_no);
    return record ? RecordStop(*record, remove_storage).stop(old_status, old_step_progress) : -1;
}

}  // namespace ssd_op::evaluation
