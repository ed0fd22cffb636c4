#include <fmt/format.h>

#include "commands/commands.h"
#include "model/layout.h"
#include "model/record.h"
#include "model/snapshot.h"
#include "output/table.h"
#include "output/terminal.h"
#include "output/text.h"
#include "view/record_output.h"

namespace cli {

namespace {

struct Options {
    bool json = false;
};

std::string layout_of(const ssd_op_db_record& record) {
    const auto* group = record.raid_conf;
    if (group == nullptr) return "-";
    return Layout{group->raid_level, static_cast<size_t>(group->ssd_drive_num)}.text();
}

std::string took(const ssd_op_db_record& record) {
    const bool ended = record.end_time >= record.start_time;
    return ended ? duration_text(std::difftime(record.end_time, record.start_time)) : "-";
}

void print_table(const std::vector<Record>& records) {
    Table table({{"Record", Table::Align::right},
                 {"Status"},
                 {"Started"},
                 {"Took"},
                 {"Layout"},
                 {"OP"},
                 {"Title"}});
    for (const Record& record : records) {
        table.add(
            {std::to_string(record->record_no),
             has_broken_off(*record) ? "broken off" : status_word(record->status),
             moment_text(record->start_time), took(*record), layout_of(*record),
             fmt::format("{} to {} %, step {}", record->min_op, record->max_op, record->interval),
             printable(record->title)});
    }
    fmt::print("{}", table.empty() ? as_called("There is no record yet; ssd-op start makes one.\n")
                                   : table.text());
}

Json to_json(const ssd_op_db_record& record) {
    Json json = record_head_json(record);
    const auto* group = record.raid_conf;
    json["broken_off"] = has_broken_off(record);
    json["raid_level"] = group != nullptr ? Json(group->raid_level) : Json(nullptr);
    json["drives"] = drives_of(record).size();
    return json;
}

void run(const Options& options) {
    const std::vector<Record> records = load_records();
    if (options.json)
        print_json(json_list(records, [](const Record& record) { return to_json(*record); }));
    else
        print_table(records);
}

}  // namespace

void add_list_command(Arguments& app) {
    auto [command, options] = add_command(app, "list", "List the records of all evaluations", run);
    add_json_flag(command, options.json);
    command.footer("Example:\n  ssd-op list --json");
}

}  // namespace cli
