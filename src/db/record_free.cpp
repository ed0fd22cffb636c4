#include <algorithm>
#include <cstdlib>
#include <utility>

#include "db/record_owner.h"

namespace ssd_op::db {

namespace {

template <typename Node>
void free_list(Node*& head) {
    while (head != nullptr) std::free(std::exchange(head, head->next));
}

}  // namespace

void free_temperatures(ssd_op_db_raid_conf& group) {
    const int drives = std::clamp(group.ssd_drive_num, 0, SSD_OP_MAX_DRIVES);
    for (int i = 0; i < drives; ++i) free_list(group.ssd_drives[i].runtime_data);
}

void free_runtime_report(ssd_op_db_record& record) { free_list(record.runtime_report); }

void free_groups(ssd_op_db_record& record) {
    for (ssd_op_db_raid_conf* group = record.raid_conf; group != nullptr; group = group->next)
        free_temperatures(*group);
    free_list(record.raid_conf);
}

void free_record(ssd_op_db_record* record) {
    for (ssd_op_db_record* each = record; each != nullptr; each = each->next) {
        free_runtime_report(*each);
        free_groups(*each);
    }
    free_list(record);
}

}  // namespace ssd_op::db
