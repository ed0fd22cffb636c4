#include <algorithm>
#include <vector>

#include <fmt/format.h>

#include "commands/commands.h"
#include "output/failure.h"
#include "output/terminal.h"
#include "output/text.h"
#include "platform/naslog.h"

namespace cli {

namespace {

struct Options {
    int count = 20;
    bool json = false;
};

const char* type_word(int type) {
    switch (type) {
        case NASLOG_INFORMATION:
            return "information";
        case NASLOG_WARNING:
            return "warning";
        default:
            return "error";
    }
}

/// The newest ones, oldest first.
std::vector<NASLOG_EVENT> load_events(int count) {
    std::vector<NASLOG_EVENT> events(static_cast<size_t>(count));
    const int found = naslog_event_query(events.data(), count);
    if (found < 0) throw reported_in_log("The event log cannot be read.");
    events.resize(static_cast<size_t>(found));
    std::reverse(events.begin(), events.end());
    return events;
}

Json to_json(const NASLOG_EVENT& event) {
    return {{"date", event.date}, {"time", event.time},       {"type", type_word(event.type)},
            {"user", event.user}, {"address", event.address}, {"description", event.description}};
}

void run(const Options& options) {
    const std::vector<NASLOG_EVENT> events = load_events(options.count);
    if (options.json) return print_json(json_list(events, to_json));
    if (events.empty()) fmt::print("There is no event.\n");
    for (const NASLOG_EVENT& event : events) {
        fmt::print("{} {}  {:11}  {}\n", event.date, event.time, type_word(event.type),
                   printable(event.description));
    }
}

}  // namespace

void add_events_command(Arguments& app) {
    auto [command, options] =
        add_command(app, "events", "Print the newest events of the system log", run);
    command.add("--count", options.count, "How many").between(1, 10000).shows_default();
    add_json_flag(command, options.json);
    command.footer("Example:\n  ssd-op events --count 5");
}

}  // namespace cli
