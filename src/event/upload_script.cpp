#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <optional>
#include <string_view>

#include "base/command.h"
#include "base/interface_name.h"
#include "base/number.h"
#include "base/text.h"
#include "event/upload.h"
#include "runtime/number.h"
#include "shared/drive_id.h"
#include "shared/ranges.h"

namespace ssd_op::event {

namespace {

constexpr double kKibPerGib = 1048576.0;
constexpr double kBytesPerGib = 1073741824.0;

std::string hexadecimal(uint32_t drive_id) {
    char text[9];
    std::snprintf(text, sizeof text, "%08x", drive_id);
    return text;
}

std::string value_text(std::string_view value) {
    std::string text(value);
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, ' ');
    return base::inside_dollar_quotes(text);
}

std::string field(std::string_view name, std::string_view value) {
    std::string text = "\\t";
    return text.append(name).append("=").append(value);
}

/// A field that lists a value of every drive, an empty one too. A drive of which the value is not
/// known leaves no trace in the list, but only the first drive of all goes without a comma.
template <typename ValueOf>
std::string drive_list(std::string_view name, const ssd_op_db_record& record, ValueOf value_of) {
    std::string list;
    bool first = true;
    for (const auto& group : shared::groups(record)) {
        for (const auto& drive : shared::drives(group)) {
            const std::optional<std::string> value = value_of(drive);
            if (value) list.append(first ? "" : ",").append(*value);
            first = false;
        }
    }
    return field(name, list);
}

std::string raid_type(const ssd_op_db_raid_conf& first) {
    const std::string level = std::to_string(first.raid_level);
    if (first.next != nullptr) return level + "0";
    if (first.raid_level == 1 && first.ssd_drive_num == 1) return "Single";
    return first.raid_level == -2 ? "JBOD" : level;
}

std::string total_capacity(const ssd_op_db_record& record) {
    uint64_t total = 0;
    for (const auto& group : shared::groups(record)) total += group.raid_capacity;
    return base::decimal_text(static_cast<double>(total) / kKibPerGib, 2);
}

std::string bus_type(const ssd_op_db_ssd_dev& drive) {
    const auto [enclosure, port] = shared::slot_of(drive.dev_id);
    PD_INFO info{};
    return PD_Get_Info(enclosure, port, &info) == 0 ? base::interface_name(info) : "Unknown";
}

/// Nothing when the platform does not tell.
std::optional<std::string> drive_capacity(const ssd_op_db_ssd_dev& drive) {
    const auto [enclosure, port] = shared::slot_of(drive.dev_id);
    uint64_t blocks = 0;
    uint32_t block_size = 0;
    if (PD_Get_Capacity(enclosure, port, &blocks, &block_size) != 0) return std::nullopt;
    return base::decimal_text(static_cast<double>(blocks * block_size) / kBytesPerGib, 2);
}

std::string drive_fields(const ssd_op_db_record& record) {
    using Drive = ssd_op_db_ssd_dev;
    const auto id = [](const Drive& drive) { return hexadecimal(drive.dev_id); };
    const auto list = [&](std::string_view name, auto value_of) {
        return drive_list(name, record, value_of);
    };
    const auto text = [&](std::string_view name, auto member) {
        return list(name, [=](const Drive& d) { return value_text(base::field_text(d.*member)); });
    };
    const auto number = [&](std::string_view name, uint64_t Drive::*member) {
        return list(name, [=](const Drive& d) { return std::to_string(d.*member); });
    };
    return list("member", id) + list("slot", id) + list("bus_type", bus_type) +
           text("disk_vendor", &Drive::vendor) + text("disk_model_name", &Drive::model) +
           text("disk_firmware", &Drive::revision) + list("disk_capacity", drive_capacity) +
           number("disk_read_throughput", &Drive::performance_read_s) +
           number("disk_read_iops", &Drive::performance_read_r) +
           number("disk_write_throughput", &Drive::performance_write_s) +
           number("disk_write_iops", &Drive::performance_write_r);
}

std::string local_minute(time_t moment) {
    tm local{};
    ::localtime_r(&moment, &local);
    char text[80];
    std::snprintf(text, sizeof text, "%.4d%.2d%.2d_%.2d%.2d", local.tm_year + 1900,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min);
    return text;
}

std::string result_fields(const ssd_op_db_record& record) {
    std::string ratios, results;
    for (int i = 0; i < shared::result_count(record); ++i) {
        const char* separator = i == 0 ? "" : ",";
        ratios.append(separator).append(std::to_string(record.percentage[i])).append("%");
        results.append(separator).append(base::decimal_text(record.result_2[i], 6));
    }
    return field("ratio", ratios) + field("performance_result", results);
}

}  // namespace

std::string upload_script(const ssd_op_db_record& record) {
    const double took = std::difftime(record.end_time, record.start_time);
    std::string script =
        "#!/bin/sh\n/usr/local/bin/kanalytic_tool send -p oprellatool -r raid -t $'";
    script += "test_name=" + value_text(base::field_text(record.title));
    script += field("test_type", "SSD over-provisioning evalutaion") + "' -e$'";
    if (record.raid_conf != nullptr) {
        script += field("capacity", total_capacity(record)) +
                  field("raid_type", raid_type(*record.raid_conf)) + drive_fields(record);
    }
    script += field("finished_time", local_minute(record.end_time)) +
              field("consumed_time", std::to_string(runtime::truncate<int>(took) / 60)) +
              result_fields(record);
    script += "'\n/usr/local/bin/kanalytic_tool flush -p oprellatool\n";
    return script;
}

}  // namespace ssd_op::event
