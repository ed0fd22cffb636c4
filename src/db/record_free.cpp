#include <cstdlib>
#include <utility>

#include "db/record_owner.h"
#include "shared/ranges.h"

namespace ssd_op::db {

namespace {

template <typename Node>
void free_list(Node*& head) {
    while (head != nullptr) std::free(std::exchange(head, head->next));
}

}  // namespace

void free_temperatures(ssd_op_db_raid_conf& group) {
    for (ssd_op_db_ssd_dev& drive : shared::drives(group)) free_list(drive.runtime_data);
}

void free_runtime_report(ssd_op_db_record& record) { free_list(record.runtime_report); }

void free_groups(ssd_op_db_record& record) {
    for (ssd_op_db_raid_conf& group : shared::groups(record)) free_temperatures(group);
    free_list(record.raid_conf);
}

void free_record(ssd_op_db_record* record) {
    for (ssd_op_db_record& each : shared::nodes(record)) {
        free_runtime_report(each);
        free_groups(each);
    }
    free_list(record);
}

}  // namespace ssd_op::db
