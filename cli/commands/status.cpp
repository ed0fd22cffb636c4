#include <optional>
#include <vector>

#include <fmt/format.h>

#include "commands/commands.h"
#include "model/record.h"
#include "model/snapshot.h"
#include "output/terminal.h"
#include "output/text.h"

namespace cli {

namespace {

struct Options {
    std::optional<int> record_no;
    bool json = false;
};

void print_snapshot(const Snapshot& snapshot) {
    fmt::print("Record {} \"{}\"\n", snapshot.record_no, printable(snapshot.title));
    fmt::print("  {}\n", progress_line(snapshot));
    if (snapshot.is_orphan()) fmt::print("  {}\n", orphan_text(snapshot));
    if (snapshot.left_storage && !snapshot.is_closing())
        fmt::print("  {}\n", left_storage_text(snapshot));
}

void run_one(int record_no, bool json) {
    const Snapshot snapshot = take_snapshot(*require_record(record_no));
    if (json)
        print_json(snapshot_json(snapshot));
    else
        print_snapshot(snapshot);
}

void run(const Options& options) {
    if (options.record_no) return run_one(*options.record_no, options.json);
    const std::vector<Record> running = load_running_records();
    if (options.json) {
        print_json(json_list(
            running, [](const Record& record) { return snapshot_json(take_snapshot(*record)); }));
        return;
    }
    if (running.empty())
        fmt::print("{}", as_called("No evaluation is running; ssd-op list has the past.\n"));
    for (const Record& record : running) print_snapshot(take_snapshot(*record));
}

}  // namespace

void add_status_command(Arguments& app) {
    auto [command, options] = add_command(app, "status", "Tell how far an evaluation is", run);
    command.add("RECORD", options.record_no, "Its record; without it, all that run");
    add_json_flag(command, options.json);
    command.footer("Example:\n  ssd-op status 3");
}

}  // namespace cli
