#include <optional>
#include <vector>

#include <fmt/format.h>

#include "commands/commands.h"
#include "model/choice.h"
#include "model/record.h"
#include "output/failure.h"
#include "output/terminal.h"
#include "output/text.h"

namespace cli {

namespace {

struct Options {
    std::optional<int> limit;
    bool yes = false;
    bool json = false;
};

void change(int limit, bool yes) {
    if (limit <= 0)
        throw Failure(kRefused, fmt::format("{} records cannot be kept.", limit),
                      "Give a limit of 1 or more.");
    const std::vector<int> dropped = beyond(limit);
    refuse_held(dropped, "its record is among those that would be deleted.");
    if (!dropped.empty() && !yes &&
        !confirmed(fmt::format("This deletes the {} up to number {}. Go on?",
                               count_text(dropped.size(), "oldest record"), dropped.back()))) {
        throw Failure(kNotConfirmed, "The limit stays as it was.");
    }
    if (SSD_OP_DB_Update_Max_Record_Limit(limit) != 0)
        throw reported_in_log("The limit cannot be changed.");
}

void run(const Options& options) {
    if (options.limit) change(*options.limit, options.yes);
    const int limit = load_limit();
    const size_t count = record_nos().size();
    if (options.json)
        print_json({{"limit", limit}, {"records", count}});
    else
        fmt::print("At most {} kept; there {} {} now.\n",
                   count_text(static_cast<size_t>(limit), "record") + (limit == 1 ? " is" : " are"),
                   count == 1 ? "is" : "are", count);
}

}  // namespace

void add_limit_command(Arguments& app) {
    auto [command, options] = add_command(
        app, "limit", "Tell or change how many records are kept; more than that delete the oldest",
        run);
    command.add("N", options.limit, "The new limit, 1 or more; without it, tell");
    command.flag("--yes", options.yes, "Do not ask when records would be deleted");
    add_json_flag(command, options.json);
    command.footer("Example:\n  ssd-op limit 50");
}

}  // namespace cli
