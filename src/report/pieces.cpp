#include <algorithm>
#include <array>
#include <cstdio>

#include "base/text.h"
#include "platform/hal.h"
#include "report/report.h"
#include "shared/drive_id.h"
#include "shared/ranges.h"

namespace ssd_op::report {

std::string test_name(const ssd_op_db_record& record) {
    return std::string(kTestName) + ' ' + record.title;
}

std::string time_text(time_t moment) {
    struct tm local {};
    tzset();
    if (localtime_r(&moment, &local) == nullptr) return {};
    std::array<char, 96> text;
    std::snprintf(text.data(), text.size(), "%ld/%02d/%02d:%02d:%02d:%02d", local.tm_year + 1900L,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
    return text.data();
}

std::string raid_word(const ssd_op_db_raid_conf& group) {
    if (group.raid_level == 1 && group.ssd_drive_num == 1) return "Single";
    return "RAID" + std::to_string(group.raid_level);
}

std::string slot_name(const ssd_op_db_ssd_dev& drive) {
    const shared::Slot slot = shared::slot_of(drive.dev_id);
    char name[32] = "";
    PD_Get_Log_Name(slot.enclosure, slot.port, name, sizeof name);
    return std::string(base::field_text(name));
}

std::vector<std::string_view> memory_items(const ssd_op_db_record& record) {
    std::vector<std::string_view> items;
    for (std::string_view rest = record.nas_mem_info; !rest.empty();) {
        std::string_view item = rest.substr(0, rest.find(','));
        rest.remove_prefix(item.size() < rest.size() ? item.size() + 1 : item.size());
        if (item.empty()) continue;
        item.remove_prefix(std::min(item.find_first_not_of(" \t"), item.size()));
        items.push_back(item);
    }
    return items;
}

unsigned Samples::count() const {
    const auto samples = shared::nodes(first());
    return static_cast<unsigned>(std::distance(samples.begin(), samples.end()));
}

}  // namespace ssd_op::report
