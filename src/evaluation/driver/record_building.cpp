#include "evaluation/driver/record_building.h"

#include <algorithm>
#include <ctime>

#include "base/text.h"
#include "evaluation/drives/groups.h"
#include "platform/naslog.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kFunction = "NAS_SSD_OP_Test_Start";

ssd_op_db_raid_conf* build_group(const RAID_CONF& requested) {
    auto* group = base::make_zeroed<ssd_op_db_raid_conf>().release();
    if (group == nullptr) throw std::bad_alloc();
    const auto drives = members_of(requested);
    group->raid_id = requested.raid_id;
    group->raid_level = requested.raid_level;
    group->ssd_drive_num = std::min(static_cast<int>(drives.size()), SSD_OP_MAX_DRIVES);
    SM_TRACE(SM_TRACE_INFO, "%s: new_raid_confP->raid_id: %d.\n", kFunction, group->raid_id);
    SM_TRACE(SM_TRACE_INFO, "%s: new_raid_confP->raid_level: %d.\n", kFunction, group->raid_level);
    SM_TRACE(SM_TRACE_INFO, "%s: new_raid_confP->ssd_drive_num: %d.\n", kFunction,
             group->ssd_drive_num);
    for (int i = 0; i < group->ssd_drive_num; ++i) {
        group->ssd_drives[i].dev_id = drives[static_cast<size_t>(i)];
        SM_TRACE(SM_TRACE_INFO, "%s: new_raid_confP->ssd_drives[%d].dev_id: %d.\n", kFunction, i,
                 static_cast<int>(group->ssd_drives[i].dev_id));
    }
    return group;
}

}  // namespace

db::RecordOwner build_record(const ssd_op_test_param& request,
                             const std::vector<RAID_CONF*>& groups) {
    db::RecordOwner record = db::new_record();
    record->start_time = std::time(nullptr);
    base::copy_text(record->title, base::field_text(request.title));
    ssd_op_db_raid_conf** tail = &record->raid_conf;
    for (const RAID_CONF* group : groups) {
        *tail = build_group(*group);
        tail = &(*tail)->next;
    }
    record->sequential = request.test_type == SSD_OP_TEST_TYPE_SEQUENTIAL ? 1 : 0;
    SM_TRACE(SM_TRACE_INFO, "%s: ssd_op_db_recordP->sequential: %d.\n", kFunction,
             record->sequential);
    record->min_op = request.min_op;
    record->max_op = request.max_op;
    record->interval = request.interval;
    record->stop_service = request.stop_service;
    record->test_size = request.test_size;
    return record;
}

}  // namespace ssd_op::evaluation
