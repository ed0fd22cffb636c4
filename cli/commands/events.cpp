#include <vector>

#include <fmt/format.h>

#include "commands/commands.h"
#include "model/event.h"
#include "output/terminal.h"
#include "output/text.h"

namespace cli {

namespace {

struct Options {
    int count = 20;
    bool json = false;
};

Json to_json(const NASLOG_EVENT& event) {
    return {{"date", event.date}, {"time", event.time},       {"type", type_word(event)},
            {"user", event.user}, {"address", event.address}, {"description", event.description}};
}

void run(const Options& options) {
    const std::vector<NASLOG_EVENT> events = load_events(options.count);
    if (options.json) return print_json(json_list(events, to_json));
    if (events.empty()) fmt::print("There is no event.\n");
    for (const NASLOG_EVENT& event : events) {
        fmt::print("{} {}  {:11}  {}\n", event.date, event.time, type_word(event),
                   printable(event.description));
    }
}

}  // namespace

void add_events_command(Arguments& app) {
    auto [command, options] =
        add_command(app, "events", "Print the newest events of the system log", run);
    command.add("--count", options.count, "How many").between(1, kMostEvents).shows_default();
    add_json_flag(command, options.json);
    command.footer("Example:\n  ssd-op events --count 5");
}

}  // namespace cli
