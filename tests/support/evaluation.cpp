#include "support/evaluation.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <stdexcept>

#include <SQLiteCpp/SQLiteCpp.h>

#include "base/text.h"
#include "core/blueprint.h"
#include "db/database.h"
#include "platform/ini.h"
#include "runtime/state_section.h"
#include "support/files.h"

namespace support {

Groups& Groups::add(int level, const std::vector<int>& members, const std::vector<int>& spares) {
    auto group = std::make_unique<RAID_CONF>();
    group->raid_id = -1;
    group->raid_level = level;
    for (const int position : members)
        group->drive_ids[group->drive_num++] = appliance::drive_id(position);
    for (const int position : spares)
        group->spare_drive_ids[group->spare_drive_num++] = appliance::drive_id(position);
    if (!groups_.empty()) groups_.back()->next = group.get();
    groups_.push_back(std::move(group));
    return *this;
}

Groups& Groups::numbered(int first) {
    for (const auto& group : groups_) {
        group->raid_id = first++;
        group->flags |= RAID_FLAG_ID_RESERVED;
    }
    return *this;
}

ssd_op_test_param request(int min_op, int max_op, int interval, const std::string& title) {
    ssd_op_test_param request{};
    ssd_op::base::copy_text(request.title, title);
    request.min_op = min_op;
    request.max_op = max_op;
    request.interval = interval;
    return request;
}

Record new_record(Groups& groups, int status, int stop_service) {
    Record record = empty_record();
    record->start_time = std::time(nullptr);
    record->stop_service = stop_service;
    ssd_op_db_raid_conf** tail = &record->raid_conf;
    for (const RAID_CONF* group = groups.list(); group != nullptr; group = group->next) {
        *tail = static_cast<ssd_op_db_raid_conf*>(std::calloc(1, sizeof(ssd_op_db_raid_conf)));
        (*tail)->raid_id = group->raid_id;
        (*tail)->raid_level = group->raid_level;
        (*tail)->ssd_drive_num = group->drive_num;
        for (int i = 0; i < group->drive_num; ++i)
            (*tail)->ssd_drives[i].dev_id = group->drive_ids[i];
        tail = &(*tail)->next;
    }
    if (SSD_OP_DB_New_Record(record.get()) != 0) throw std::runtime_error("no record made");
    SSD_OP_Test_Set_Status(record->record_no, status);
    return record;
}

int status_of(int record_no) { return SSD_OP_DB_Query_Record_Status(record_no); }

void change_database(const std::string& path, const std::string& statements) {
    const auto lock = ssd_op::base::FileLock::for_writing(ssd_op::db::kDatabaseLock);
    SQLite::Database(path, SQLite::OPEN_READWRITE).exec(statements);
}

int make_storage(Groups& groups) {
    POOL_CREATE_OPTIONS options{};
    options.owner = -1;
    LV_CREATE_REQUEST volume{};
    volume.pool_id = NAS_Pool_Create(groups.list(), 0, 0, &options, nullptr);
    volume.lv_id = LV_Get_Next_Available_Id(1, LV_TYPE_TEST);
    volume.type = LV_TYPE_TEST;
    volume.mode = groups.list()->next != nullptr ? LV_MODE_STRIPED : 0;
    if (volume.pool_id < 0 || LV_Create(&volume, 0, 0) != 0)
        throw std::runtime_error("no storage made");
    return volume.lv_id;
}

std::string volume_name(int lv_id) {
    char name[64] = "";
    LV_Get_Name(lv_id, name, sizeof name);
    return name;
}

void measure_at_once(Appliance& appliance) {
    for (const char* name : {"Disk_Read_Performance_Test", "Disk_Write_Performance_Test", "fio"})
        appliance.failing(name, 0);
}

void say_that_the_driver_is_gone(int record_no) {
    const std::string section = "Record_" + std::to_string(record_no);
    Ini_Conf_Set_Field(ssd_op::runtime::kRuntimeInfoFile, section.c_str(), "driver", "1 1");
}

void plant_test_script(const std::string& body) {
    const std::string path = std::string(appliance::kAddonPath) + "/util/test-all.sh";
    std::filesystem::remove(path);  // a link into the repository
    write_file(path, "#!/bin/bash\nPREFIX=${0%/*}/log/${1//\\//_}_$2_\n" + body + "\n");
}

void plant_quick_test_script(const std::string& before_results) {
    plant_test_script(before_results + R"(
for ((op = $3; op <= $4; op += $5)); do
    echo "OP_$op%, $((1000 + op)).5, $((2000 + op)).25" >>"${PREFIX}report.csv"
done)");
}

}  // namespace support
