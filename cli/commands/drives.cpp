#include <fmt/format.h>

#include "commands/commands.h"
#include "model/drive.h"
#include "output/table.h"
#include "output/terminal.h"
#include "output/text.h"

namespace cli {

namespace {

struct Options {
    bool json = false;
};

void print_table(const std::vector<Drive>& drives) {
    Table table({{"Slot"},
                 {"Device"},
                 {"Vendor"},
                 {"Model"},
                 {"Serial number"},
                 {"Firmware"},
                 {"Capacity", Table::Align::right},
                 {"Use"}});
    for (const Drive& drive : drives) {
        table.add({printable(drive.slot), drive.device, printable(drive.vendor),
                   printable(drive.model), printable(drive.serial_no), printable(drive.firmware),
                   size_text(drive.capacity_bytes), use_of(drive)});
    }
    fmt::print("{}", drives.empty() ? no_drives() + "\n" : table.text());
}

Json to_json(const Drive& drive) {
    return {{"id", drive.id},
            {"slot", drive.slot},
            {"device", drive.device},
            {"vendor", drive.vendor},
            {"model", drive.model},
            {"serial_no", drive.serial_no},
            {"firmware", drive.firmware},
            {"capacity_bytes", drive.capacity_bytes},
            {"ssd", drive.is_ssd},
            {"free", drive.is_ssd && drive.is_free()},
            {"raid_id", positive_or_null(drive.raid_id)},
            {"pool_id", positive_or_null(drive.pool_id)},
            {"evaluation", positive_or_null(drive.record_no)},
            {"broken_off", drive.broken_off},
            {"left_by", positive_or_null(drive.left_by)}};
}

void run(const Options& options) {
    const std::vector<Drive> drives = load_drives();
    if (options.json)
        print_json(json_list(drives, to_json));
    else
        print_table(drives);
}

}  // namespace

void add_drives_command(Arguments& app) {
    auto [command, options] = add_command(app, "drives", "List the drives and what uses them", run);
    add_json_flag(command, options.json);
    command.footer("Example:\n  ssd-op drives --json");
}

}  // namespace cli
