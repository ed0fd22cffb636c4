// Release of records and of what hangs on them.

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "ssd_op.h"

namespace {

template <typename Node>
void free_list(Node*& head) {
    while (head != nullptr) std::free(std::exchange(head, head->next));
}

}  // namespace

void SSD_OP_DB_Free_SSD_Runtime_Data(ssd_op_db_raid_conf* raid) {
    if (raid == nullptr) return;
    const int drives = std::clamp(raid->ssd_drive_num, 0, SSD_OP_MAX_DRIVES);
    for (int i = 0; i < drives; ++i) free_list(raid->ssd_drives[i].runtime_data);
}

void SSD_OP_DB_Free_Runtime_Report(ssd_op_db_record* record) {
    if (record != nullptr) free_list(record->runtime_report);
}

void SSD_OP_DB_Free_RAID_Conf(ssd_op_db_record* record) {
    if (record == nullptr) return;
    for (ssd_op_db_raid_conf* group = record->raid_conf; group != nullptr; group = group->next)
        SSD_OP_DB_Free_SSD_Runtime_Data(group);
    free_list(record->raid_conf);
}

void SSD_OP_DB_Free_Record(ssd_op_db_record* record) {
    for (ssd_op_db_record* each = record; each != nullptr; each = each->next) {
        SSD_OP_DB_Free_Runtime_Report(each);
        SSD_OP_DB_Free_RAID_Conf(each);
    }
    free_list(record);
}
