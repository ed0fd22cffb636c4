#include "view/record_output.h"

#include <fmt/format.h>

#include "model/layout.h"
#include "model/results.h"
#include "output/text.h"

namespace cli {

namespace {

constexpr auto kRight = Table::Align::right;

std::string gain_heading(const std::vector<Result>& results) {
    const auto baseline = baseline_of(results);
    return baseline ? fmt::format("Gain over OP {}", *baseline) : "Gain";
}

Table table_of_results(const std::vector<Result>& results) {
    Table table({{"OP", kRight},
                 {"IOPS", kRight},
                 {gain_heading(results), kRight},
                 {"Write amplification", kRight},
                 {""}});
    for (const Result& result : results) {
        const auto shown = [](const auto& value, const char* format) {
            return value ? fmt::format(fmt::runtime(format), *value) : std::string("-");
        };
        table.add({fmt::format("{} %", result.op), shown(result.iops, "{:.0f}"),
                   shown(result.gain_percent, "{:+.1f} %"),
                   shown(result.write_amplification, "{:.2f}"), result.skipped ? "skipped" : ""});
    }
    return table;
}

Json result_json(const Result& result) {
    return {{"op", result.op},
            {"skipped", result.skipped},
            {"iops", or_null(result.iops)},
            {"gain_percent", or_null(result.gain_percent)},
            {"write_amplification", or_null(result.write_amplification)}};
}

Json drive_json(const ssd_op_db_ssd_dev& drive) {
    return {{"id", drive.dev_id},
            {"slot", slot_name(drive)},
            {"vendor", drive.vendor},
            {"model", drive.model},
            {"serial_no", drive.serial_no},
            {"firmware", drive.revision},
            {"bus", drive.bus_type},
            {"capacity_bytes", drive.capacity},
            {"sequential_read_kib_s", drive.performance_read_s},
            {"sequential_write_kib_s", drive.performance_write_s},
            {"random_read_iops", drive.performance_read_r},
            {"random_write_iops", drive.performance_write_r}};
}

Json group_json(const ssd_op_db_raid_conf& group) {
    return {{"raid_id", group.raid_id},
            {"raid_level", group.raid_level},
            {"capacity_kib", group.raid_capacity},
            {"drives", json_list(shared::drives(group), drive_json)}};
}

}  // namespace

std::string record_line(const ssd_op_db_record& record) {
    return fmt::format("Record {} \"{}\": {}", record.record_no, printable(record.title),
                       status_word(record.status));
}

Lines record_facts(const ssd_op_db_record& record) {
    Lines facts = {{"Started", moment_text(record.start_time)}};
    if (record.end_time != 0) {
        facts.push_back({"Ended", fmt::format("{}, after {}", moment_text(record.end_time),
                                              duration_text(std::difftime(record.end_time,
                                                                          record.start_time)))});
    }
    facts.push_back(
        {"Volume", fmt::format("{}, tested {}, file services {}", size_text(record.lv_size * kMib),
                               size_text(record.test_size * kMib),
                               record.stop_service != 0 ? "stopped" : "not stopped")});
    return facts;
}

Lines appliance_facts(const ssd_op_db_record& record) {
    return {{"Appliance", fmt::format("{}, serial number {}", printable(record.nas_model),
                                      printable(record.nas_serial_no))},
            {"Firmware", printable(record.nas_fw_version)},
            {"Processor", printable(record.nas_cpu_info)},
            {"Memory", printable(record.nas_mem_info)}};
}

Table results_table(const ssd_op_db_record& record) { return table_of_results(results_of(record)); }

std::string group_line(const ssd_op_db_raid_conf& group) {
    const Layout layout{group.raid_level, static_cast<size_t>(group.ssd_drive_num)};
    return fmt::format("RAID group {}: {}, {}", group.raid_id, layout.text(),
                       size_text(group.raid_capacity * kKib));
}

Table group_table(const ssd_op_db_raid_conf& group) {
    Table table({{"Slot"},
                 {"Model"},
                 {"Serial number"},
                 {"Firmware"},
                 {"Bus"},
                 {"Capacity", kRight},
                 {"Seq. read", kRight},
                 {"Seq. write", kRight},
                 {"Random read", kRight},
                 {"Random write", kRight}});
    for (const ssd_op_db_ssd_dev& drive : shared::drives(group)) {
        const auto speed = [](uint64_t kib) { return size_text(kib * kKib) + "/s"; };
        table.add({printable(slot_name(drive)), printable(drive.model), printable(drive.serial_no),
                   printable(drive.revision), printable(drive.bus_type), size_text(drive.capacity),
                   speed(drive.performance_read_s), speed(drive.performance_write_s),
                   fmt::format("{} IOPS", drive.performance_read_r),
                   fmt::format("{} IOPS", drive.performance_write_r)});
    }
    return table;
}

std::string results_text(const ssd_op_db_record& record) {
    const Table table = results_table(record);
    return table.empty() ? "No ratio has a result.\n" : table.text();
}

std::string record_text(const ssd_op_db_record& record) {
    std::string text = record_line(record) + "\n" + lines_text(record_facts(record), 10) + "\n" +
                       results_text(record);
    for (const ssd_op_db_raid_conf& group : shared::groups(record))
        text += "\n" + group_line(group) + "\n" + group_table(group).text();
    return text + "\n" + lines_text(appliance_facts(record), 11);
}

Json record_head_json(const ssd_op_db_record& record) {
    return {{"record", record.record_no},
            {"title", record.title},
            {"status", status_word(record.status)},
            {"start_time", record.start_time},
            {"end_time", record.end_time},
            {"min_op", record.min_op},
            {"max_op", record.max_op},
            {"interval", record.interval}};
}

Json record_json(const ssd_op_db_record& record) {
    Json json = record_head_json(record);
    json.update({{"sequential", record.sequential != 0},
                 {"stop_services", record.stop_service != 0},
                 {"volume_mib", record.lv_size},
                 {"test_size_mib", record.test_size},
                 {"results", json_list(results_of(record), result_json)},
                 {"groups", json_list(shared::groups(record), group_json)},
                 {"appliance",
                  {{"model", record.nas_model},
                   {"firmware", record.nas_fw_version},
                   {"serial_no", record.nas_serial_no},
                   {"processor", record.nas_cpu_info},
                   {"memory", record.nas_mem_info}}}});
    return json;
}

}  // namespace cli
