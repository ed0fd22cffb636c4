#include "view/watch.h"

#include <memory>
#include <optional>

#include <fmt/format.h>

#include "commands/commands.h"
#include "model/choice.h"
#include "view/record_output.h"

namespace cli {

namespace {

struct Options {
    std::optional<int> record_no;
    bool json = false;
};

std::unique_ptr<View> make_view(bool json) {
    if (!json && stdout_is_terminal()) return std::make_unique<LiveView>();
    return std::make_unique<MinuteView>(json);
}

void run(const Options& options) {
    const int record_no = options.record_no ? *options.record_no : only_running();
    const Watched watched = watch(record_no, *make_view(options.json));
    if (!options.json && !watched.interrupted)
        fmt::print("\n{}", results_text(*require_record(record_no)));
    report_end(watched);
}

}  // namespace

void add_watch_command(Arguments& app) {
    auto [command, options] = add_command(app, "watch", "Follow an evaluation to its end", run);
    command.add("RECORD", options.record_no, "Its record; without it, the one that runs");
    command.flag("--json", options.json, "Print a line of JSON a minute");
    command.footer(
        "On a terminal a view is kept up to date; elsewhere a line is printed every minute. "
        "Ctrl-C\n"
        "ends the watching only. At the end come the figures of each ratio.\n"
        "\n"
        "Exit codes: 0 the evaluation completed, 6 it was stopped, 1 it failed or broke off, 7 it\n"
        "still runs (Ctrl-C), 4 no such record or none that runs.\n"
        "\n"
        "Example:\n"
        "  ssd-op watch 3");
}

}  // namespace cli
