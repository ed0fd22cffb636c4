#include <algorithm>
#include <memory>
#include <optional>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "commands.h"
#include "failure.h"
#include "record_output.h"
#include "watch.h"

namespace cli {

namespace {

struct Options {
    std::optional<int> record_no;
    bool json = false;
};

/// The one that runs, unless a record is named.
int choose_record(const std::optional<int>& wanted) {
    if (wanted) return *wanted;
    std::vector<int> running;
    for (const Record& record : load_running_records()) running.push_back(record->record_no);
    if (running.empty())
        throw Failure(kNotFound, "No evaluation is running.", "ssd-op list has the past.");
    if (running.size() == 1) return running.front();
    std::sort(running.begin(), running.end());
    throw Failure(kRefused, fmt::format("{} evaluations are running.", running.size()),
                  fmt::format("Name one: {}.", fmt::join(running, ", ")));
}

std::unique_ptr<View> make_view(bool json) {
    if (!json && stdout_is_terminal()) return std::make_unique<LiveView>();
    return std::make_unique<MinuteView>(json);
}

void run(const Options& options) {
    const int record_no = choose_record(options.record_no);
    const Watched watched = watch(record_no, *make_view(options.json));
    if (!options.json && !watched.interrupted)
        fmt::print("\n{}", results_text(*load_record(record_no)));
    report_end(watched);
}

}  // namespace

void add_watch_command(CLI::App& app) {
    auto* command = app.add_subcommand("watch", "Follow an evaluation to its end");
    auto options = std::make_shared<Options>();
    command->add_option("RECORD", options->record_no, "Its record; without it, the one that runs");
    command->add_flag("--json", options->json, "Print a line of JSON a minute");
    command->footer(
        "On a terminal a view is kept up to date; elsewhere a line is printed every minute. "
        "Ctrl-C\n"
        "ends the watching only. At the end come the figures of each ratio.\n"
        "\n"
        "Exit codes: 0 the evaluation completed, 6 it was stopped, 1 it failed or broke off, 7 it\n"
        "still runs (Ctrl-C), 4 no such record or none that runs.\n"
        "\n"
        "Example:\n"
        "  ssd-op watch 3");
    command->callback([options] { run(*options); });
}

}  // namespace cli
