#include "model/leftover.h"

#include <algorithm>

#include <unistd.h>

#include "evaluation/state/ownership.h"
#include "model/record.h"
#include "platform/storage.h"
#include "shared/appliance_state.h"

namespace cli {

using ssd_op::evaluation::Driver;
using ssd_op::evaluation::is_surely_of;

namespace {

constexpr int kLongestWait = 60;  // seconds

bool has_ended(const ssd_op_db_record& record) {
    return !is_running(record.status) && record.status != SSD_OP_TEST_STATUS_NEW;
}

bool services_may_start() {
    if (!shared::appliance_is_up()) return false;
    const std::vector<Record> running = load_running_records();
    return std::none_of(running.begin(), running.end(),
                        [](const Record& other) { return other->stop_service != 0; });
}

bool any_group_exists(const ssd_op_db_record& record) {
    const auto groups = shared::groups(record);
    return std::any_of(groups.begin(), groups.end(),
                       [](const auto& group) { return RAID_Is_Exist(group.raid_id) != 0; });
}

}  // namespace

std::map<int, int> left_groups(const std::vector<Record>& records) {
    std::map<int, int> left;
    for (const Record& record : records) {  // a newer one takes the number from an older
        for (const ssd_op_db_raid_conf& group : shared::groups(*record)) {
            left.erase(group.raid_id);
            if (has_ended(*record) && RAID_Is_Exist(group.raid_id) != 0 &&
                is_surely_of(group, *record))
                left[group.raid_id] = record->record_no;
        }
    }
    return left;
}

bool has_left_storage(const ssd_op_db_record& record, Driver driver) {
    if (!has_ended(record) || driver == Driver::kLives || !any_group_exists(record)) return false;
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
