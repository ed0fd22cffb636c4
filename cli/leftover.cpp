#include "leftover.h"

#include <algorithm>
#include <memory>
#include <set>

#include <unistd.h>

#include "platform/storage.h"
#include "record.h"

namespace cli {

namespace {

constexpr int kLongestWait = 60;  // seconds

bool has_ended(const ssd_op_db_record& record) {
    return !is_running(record.status) && record.status != SSD_OP_TEST_STATUS_NEW;
}

/// Numbers of groups are used again, by evaluations and by whoever makes groups. A group is the
/// record's when its drives are. Where it has none yet, it is when the driver died: then the number
/// was never given back.
bool is_of(const ssd_op_db_raid_conf& group, const ssd_op_db_record& record) {
    const auto made = std::make_unique<RAID_CONF>();
    if (RAID_Get_Conf(group.raid_id, made.get()) != 0) return record.end_time == 0;
    const int count = std::clamp(made->drive_num, 0, RAID_MAX_DRIVES);
    const std::set<uint32_t> members(made->drive_ids, made->drive_ids + count);
    std::set<uint32_t> recorded;
    for (int i = 0; i < group.ssd_drive_num; ++i) recorded.insert(group.ssd_drives[i].dev_id);
    return members == recorded;
}

// As the library sees it: services are started while the appliance neither starts nor shuts down.
constexpr const char* kStartUpMark = "/tmp/opr_run_once_on_boot";
constexpr const char* kShutdownMark = "/var/kfunc/rcK";

bool services_may_start() {
    if (::access(kStartUpMark, F_OK) != 0 || ::access(kShutdownMark, F_OK) == 0) return false;
    const std::vector<Record> running = load_running_records();
    return std::none_of(running.begin(), running.end(),
                        [](const Record& other) { return other->stop_service != 0; });
}

bool any_group_exists(const ssd_op_db_record& record) {
    for (const auto* group = record.raid_conf; group != nullptr; group = group->next) {
        if (RAID_Is_Exist(group->raid_id) != 0) return true;
    }
    return false;
}

}  // namespace

std::map<int, int> left_groups(const std::vector<Record>& records) {
    std::map<int, int> left;
    for (const Record& record : records) {  // a newer one takes the number from an older
        for (const auto* group = record->raid_conf; group != nullptr; group = group->next) {
            left.erase(group->raid_id);
            if (has_ended(*record) && RAID_Is_Exist(group->raid_id) != 0 && is_of(*group, *record))
                left[group->raid_id] = record->record_no;
        }
    }
    return left;
}

bool has_left_storage(const ssd_op_db_record& record, Driver driver) {
    if (!has_ended(record) || driver == Driver::kRuns || !any_group_exists(record)) return false;
    const std::map<int, int> left = left_groups(load_records());
    return std::any_of(left.begin(), left.end(),
                       [&](const auto& entry) { return entry.second == record.record_no; });
}

int remove_left_storage(const ssd_op_db_record& record) {
    const int result = SSD_OP_Test_Stop(record.record_no, SSD_OP_STOP_BY_USER, 1, record.status, 0);
    int waited = 0;
    while (any_group_exists(record)) {
        if (waited++ == kLongestWait) return -1;
        ::sleep(1);
    }
    if (record.stop_service != 0 && services_may_start()) Start_Services();
    return result;
}

}  // namespace cli
