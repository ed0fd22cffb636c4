/// appliance-ctl: looks into the simulated appliance from the shell, and makes its calls fail.

#include <algorithm>
#include <cstdio>
#include <exception>
#include <iterator>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "core/call.h"
#include "core/query.h"
#include "shared/command_line.h"

namespace {

using ssd_op::shared::Arguments;
using Row = std::vector<std::string>;

/// A part of the state that can be shown as a table.
struct View {
    const char* name;
    const char* help;
    const char* sql;
};

constexpr View kViews[] = {
    {"drives", "The drives: id, bay, identity, size, temperature, wear",
     "SELECT dev_id >> 16 AS enclosure, dev_id & 65535 AS port, sys_name AS device, vendor, model, "
     "serial_no, revision, block_size * block_count / 1000000000 AS gb, temperature, wear_percent "
     "FROM drive ORDER BY dev_id"},
    {"partitions", "The partitions of the drives",
     "SELECT dev_id >> 16 AS enclosure, dev_id & 65535 AS port, part_no, name, size_kib "
     "FROM partition ORDER BY dev_id, part_no"},
    {"raid", "RAID groups and their drives",
     "SELECT raid_id, raid_level, capacity_kib, (SELECT group_concat(sys_name, ' ') FROM "
     "(SELECT sys_name FROM raid_drive JOIN drive USING (dev_id) WHERE raid_drive.raid_id = "
     "raid.raid_id ORDER BY spare, position)) AS drives FROM raid ORDER BY raid_id"},
    {"volumes", "Logical volumes, with the RAID groups under them",
     "SELECT lv_id, name, pool_id, sectors / 2048 AS mib, (SELECT group_concat(raid_id, ' ') FROM "
     "pool_member WHERE pool_member.pool_id = lv.pool_id) AS raid FROM lv ORDER BY lv_id"},
    {"settings", "Values that replace the appliance's own (see set)",
     "SELECT key, value FROM setting ORDER BY key"},
    {"services", "The services, and whether they run",
     "SELECT name, CASE running WHEN 0 THEN 'stopped' ELSE 'running' END AS state FROM service "
     "ORDER BY name"},
    {"events", "The event log",
     "SELECT datetime(time, 'unixepoch', 'localtime') AS time, type, user, description FROM event "
     "ORDER BY event_no"},
    {"notices", "Notices that the user was sent",
     "SELECT datetime(time, 'unixepoch', 'localtime') AS time, way, message_id, severity, message "
     "FROM notice ORDER BY notice_no"},
    {"uploads", "What was handed to the analytics tool",
     "SELECT datetime(time, 'unixepoch', 'localtime') AS time, action, product, test, event FROM "
     "upload ORDER BY upload_no"},
};

void print_table(std::vector<Row> rows) {
    std::vector<size_t> widths(rows.front().size());
    for (const Row& row : rows) {
        for (size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], row[column].size());
    }
    widths.back() = 0;
    for (const Row& row : rows) {
        for (size_t column = 0; column < row.size(); ++column) {
            fmt::print("{:<{}}{}", row[column], widths[column],
                       column + 1 < row.size() ? "  " : "\n");
        }
    }
}

/// Rows of a query under its column names, each value as text.
void show(SQLite::Statement query) {
    std::vector<Row> rows(1);
    for (int column = 0; column < query.getColumnCount(); ++column)
        rows[0].emplace_back(query.getColumnName(column));
    while (query.executeStep()) {
        Row& row = rows.emplace_back();
        for (int column = 0; column < query.getColumnCount(); ++column)
            row.push_back(query.getColumn(column).getString());
    }
    print_table(std::move(rows));
}

void add_views(Arguments& app) {
    for (const View& view : kViews) {
        app.subcommand(view.name, view.help).callback([&view] {
            show(appliance::statement(view.sql));
        });
    }
}

void add_journal(Arguments& app) {
    static std::string name = "*";
    static int last = 50;
    Arguments journal = app.subcommand("journal", "Platform calls and started programs");
    journal.add("--name", name, "Only calls of this name; * and ? stand for any text");
    journal.add("--last", last, "At most so many, the last ones").shows_default();
    journal.footer("Example: appliance-ctl journal --name 'NAS_*' --last 10");
    journal.callback([] {
        show(appliance::statement(
            "SELECT time, pid, name, result, arguments FROM (SELECT row_no, strftime('%H:%M:%f', "
            "time, 'unixepoch', 'localtime') AS time, pid, name, result, arguments FROM journal "
            "WHERE name GLOB ? ORDER BY row_no DESC LIMIT ?) ORDER BY row_no",
            name, last));
    });
}

void add_set(Arguments& app) {
    static std::string key, value;
    Arguments set = app.subcommand("set", "Give the appliance another value of its own");
    set.add("KEY", key, "For example cpu_info, system_version, memory_slot_2").required();
    set.add("VALUE", value, "For example 8192 DDR4").required();
    set.callback([] { appliance::set_setting(key, value); });
}

struct FaultRequest {
    std::string name;
    int nth = 0;
    int64_t value = 0;
};

void add_fault_kind(Arguments& fault, const char* kind_name, const char* help,
                    appliance::FaultKind kind, const char* value_help) {
    static FaultRequest request;
    Arguments command = fault.subcommand(kind_name, help);
    command.add("NAME", request.name, "A platform call or program").required();
    if (value_help != nullptr) command.add("VALUE", request.value, value_help).required();
    command.add("--nth", request.nth, "Only its n-th use, counted from now; 0 means every use");
    command.callback(
        [kind] { appliance::set_fault(request.name, request.nth, kind, request.value); });
}

void add_faults(Arguments& app) {
    using appliance::FaultKind;
    Arguments fault = app.subcommand("fault", "Make a platform call or a program fail");
    fault.require_one_subcommand();
    fault.footer(
        "Examples: appliance-ctl fault return NAS_Pool_Remove -1 --nth 1\n"
        "          appliance-ctl fault slow kblkdiscard 5000");
    add_fault_kind(fault, "return", "It does nothing and returns a value", FaultKind::kReturn,
                   "What it returns");
    add_fault_kind(fault, "slow", "It is late", FaultKind::kSlow,
                   "Milliseconds of the appliance's clock");
    add_fault_kind(fault, "hold", "It waits until the faults are cleared", FaultKind::kHold,
                   nullptr);
    add_fault_kind(fault, "kill", "Its process is killed before it works", FaultKind::kKill,
                   nullptr);
    add_fault_kind(fault, "kill-after", "Its process is killed after it worked",
                   FaultKind::kKillAfter, nullptr);
    fault.subcommand("list", "The faults that are set, and how often their calls were used")
        .callback([] {
            show(appliance::statement(
                "SELECT name, nth, kind, value, coalesce(count, 0) AS uses FROM fault "
                "LEFT JOIN call_count USING (name) ORDER BY fault_no"));
        });
    fault.subcommand("clear", "Remove all faults").callback(appliance::clear_faults);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        Arguments app("Look into this simulated appliance, and make its calls fail.");
        app.require_one_subcommand();
        add_views(app);
        add_journal(app);
        add_set(app);
        add_faults(app);
        return app.parse(argc, argv).value_or(0);
    } catch (const std::exception& error) {
        fmt::print(stderr, "appliance-ctl: {}\n", error.what());
        return 1;
    }
}
