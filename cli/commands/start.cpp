#include <memory>

#include <fmt/format.h>

#include "commands/commands.h"
#include "model/choice.h"
#include "output/failure.h"
#include "output/text.h"
#include "start/launch.h"
#include "start/plan_output.h"
#include "view/watch.h"

namespace cli {

namespace {

struct Options {
    Request request;
    bool foreground = false;
    bool yes = false;
    bool dry_run = false;
    bool json = false;
};

/// @throws Failure unless the evaluation completed
void follow_to_the_end(int record_no, const Options& options) {
    std::unique_ptr<View> view;
    if (options.json)
        view = std::make_unique<NoView>();
    else if (stdout_is_terminal())
        view = std::make_unique<LiveView>();
    else
        view = std::make_unique<MilestoneView>();
    const Watched watched = watch(record_no, *view);
    if (options.json) print_json(snapshot_json(watched.last));
    report_end(watched);
}

void report_start(int record_no, const Plan& plan, const Options& options) {
    if (options.json) {
        Json json = {{"record", record_no}};
        json["plan"] = plan_json(plan);
        print_json(json);
    } else {
        fmt::print("{}",
                   as_called(fmt::format(
                       "\nEvaluation {0} has started. ssd-op watch {0} follows it.\n", record_no)));
        std::fflush(stdout);
    }
}

void ask(const Plan& plan, bool plan_is_unseen) {
    if (plan_is_unseen) fmt::print(stderr, "{}", plan_text(plan));
    const std::string also =
        plan.dropped.empty() ? "" : fmt::format(", deleting {}", dropped_text(plan));
    if (!confirmed(fmt::format("\nStart the evaluation{}?", also)))
        throw Failure(kNotConfirmed, "Nothing has been done.");
    if (dropped_by_start() != plan.dropped)
        throw Failure(kRefused, "Other records would be deleted by now.", "Start again.");
}

void run(const Options& options) {
    const Plan plan = make_plan(options.request);
    if (options.dry_run) {
        if (options.json) return print_json(plan_json(plan));
        fmt::print("{}\nThis was a dry run: nothing has been done.\n", plan_text(plan));
        return;
    }
    if (!options.json) fmt::print("{}", plan_text(plan));
    std::fflush(stdout);
    if (!options.yes) ask(plan, options.json);
    const int record_no = launch(plan);
    if (!options.foreground || !options.json) report_start(record_no, plan, options);
    if (options.foreground) follow_to_the_end(record_no, options);
}

/// "-5" would be read as a very large unsigned number.
std::string complaint_about_sign(const std::string& number) {
    return number.starts_with('-') ? number + " is negative" : "";
}

void add_request_options(Arguments& command, Request& request) {
    command.add("--raid", request.raid, "RAID level: 0, 1, 5, 6, 10 or single").required();
    command
        .add("--drives", request.drives, "Drives by device, slot name or id, separated by commas")
        .required()
        .separated_by(',');
    command.add("--title", request.title, "Name of the evaluation");
    command.add("--min-op", request.min_op, "First OP ratio, percent").shows_default();
    command.add("--max-op", request.max_op, "Last OP ratio, percent").shows_default();
    command.add("--interval", request.interval, "Step from ratio to ratio, percent")
        .shows_default();
    command.add("--test-size", request.test_size_mib, "MiB of the volume to test; 0: all of it")
        .check(complaint_about_sign)
        .shows_default();
    command
        .add("--min-iops", request.min_iops, "Give a ratio up that stays below this rate; 0: never")
        .check(complaint_about_sign)
        .shows_default();
    command.add("--abort-time", request.abort_time, "Give a ratio up after these seconds; 0: never")
        .check(complaint_about_sign)
        .shows_default();
    command.flag("--stop-services", request.stop_services,
                 "Stop the file services while the storage is created");
    command.flag(
        "--quick", request.quick,
        "Rehearse: short rounds, on 1024 MiB unless --test-size says more; the title tells");
    const Argument sequential = command.flag("--sequential", request.sequential,
                                             "Measure sequential writes instead of random ones");
    command.flag("--all", request.all, "Measure sequential writes, then random ones")
        .excludes(sequential);
}

}  // namespace

void add_start_command(Arguments& app) {
    auto [command, options] = add_command(
        app, "start", "Evaluate drives; ALL DATA ON THEM IS LOST. Asks before it begins.", run);
    add_request_options(command, options.request);
    command.flag("--foreground", options.foreground,
                 "Show the progress and wait for the end; Ctrl-C ends the showing only");
    command.flag("--yes", options.yes, "Do not ask");
    command.flag("--dry-run", options.dry_run,
                 "Tell what would be done, its cost and time, and do nothing");
    add_json_flag(command, options.json);
    command.footer(
        "Examples:\n"
        "  ssd-op start --raid 5 --drives sda,sdb,sdc,sdd --dry-run\n"
        "  ssd-op start --raid single --drives \"Disk 2\" --min-op 7 --max-op 28 --interval 7 "
        "--title \"Cache drive\" --foreground");
}

}  // namespace cli
