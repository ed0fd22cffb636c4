#include "fuzz/database_use.h"

#include <array>

#include <unistd.h>

#include "fuzz/target.h"
#include "support/records.h"

namespace fuzz {

namespace {

template <size_t Size>
void require_text(const char (&text)[Size]) {
    require(::strnlen(text, Size) < Size, "a text of a record has an end");
}

void require_result(int result) { require(result == 0 || result == -1, "a documented result"); }

void read_group(ssd_op_db_raid_conf& group) {
    require(group.ssd_drive_num >= 0 && group.ssd_drive_num <= SSD_OP_MAX_DRIVES,
            "a group has room for its drives");
    for (int i = 0; i < group.ssd_drive_num; ++i) {
        ssd_op_db_ssd_dev& drive = group.ssd_drives[i];
        require_text(drive.vendor);
        require_text(drive.model);
        require_text(drive.serial_no);
        require_text(drive.revision);
        require_result(SSD_OP_DB_Query_SSD_Runtime_Data(&drive, 1, 10));
        SSD_OP_DB_Query_SSD_Select_No(1, group.raid_id, static_cast<int>(drive.dev_id));
    }
}

void read_record(ssd_op_db_record& record) {
    require_text(record.title);
    require_text(record.nas_model);
    require_text(record.nas_mem_info);
    for (auto* group = record.raid_conf; group != nullptr; group = group->next) read_group(*group);
}

void read_records() {
    require(SSD_OP_DB_Query_Record_Count() >= -1, "a count");
    std::array<int, 5> numbers{};
    require(SSD_OP_DB_Query_Record_No(numbers.data(), 5) <= 5, "numbers fit their room");
    require(SSD_OP_DB_Query_Runtime_Percentage(numbers.data(), 5, 1) <= 5, "ratios fit their room");
    SSD_OP_DB_Query_Max_Record_Limit();
    SSD_OP_DB_Query_SSD_In_Testing(numbers.data(), 5);
    SSD_OP_DB_Query_Record_Status(SSD_OP_DB_Get_Newest_Record());

    const support::Record record = support::empty_record();
    require_result(SSD_OP_DB_Query_Record(1, record.get()));
    read_record(*record);
    require_result(SSD_OP_DB_Query_Record_Test_Data(record.get(), 1));
    require(record->count >= 0 && record->count <= SSD_OP_MAX_RATIOS, "results fit their room");
    require_result(SSD_OP_DB_Query_Record_Runtime_Report(record.get(), 1, 10, 1));

    ssd_op_db_record* page = nullptr;
    require_result(SSD_OP_DB_Query_Record_Simple(&page, 0, 10, SSD_OP_ANY_STATUS));
    const support::Record owner(page);
    for (; page != nullptr; page = page->next) read_record(*page);
}

void compute_progress() {
    float progress = 0;
    unsigned long long seconds = 0;
    require_result(SSD_OP_Test_Get_Progress(1, nullptr, &progress));
    require_result(SSD_OP_Test_Get_Remain_Time(1, nullptr, &seconds));
}

void report() {
    for (const auto write_report : {SSD_OP_Test_Export_CSV, SSD_OP_Test_Export_XLSX}) {
        char path[512] = "";
        const int result = write_report(1, path, sizeof path);
        require_result(result);
        require_text(path);
        if (result == 0) require(::unlink(path) == 0, "a report has a file");
    }
}

void change() {
    require_result(SSD_OP_DB_Update_Test_Result(1, 10, 1, 2));
    require_result(SSD_OP_DB_Update_Max_Record_Limit(2));
    const support::Record record = support::record_of("new", {{802, 1, {0x10001}}});
    require_result(SSD_OP_DB_New_Record(record.get()));
    for (const int record_no : {1, -1})
        require(SSD_OP_DB_Delete_Record(record_no) >= -1, "or what SQLite says");
}

void change_version() {
    for (const int version : {5, 2}) {
        require_result(SSD_OP_DB_Version_Downgrade(version));
        require_result(SSD_OP_DB_Version_Upgrade());
    }
}

}  // namespace

void use_database(uint8_t use) {
    constexpr uint8_t kUses = 5;
    switch (static_cast<uint8_t>(use - '0') % kUses) {
        case 0:
            return read_records();
        case 1:
            return compute_progress();
        case 2:
            return report();
        case 3:
            return change();
        default:
            change_version();
            read_records();
    }
}

}  // namespace fuzz
