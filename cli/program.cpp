/// What ssd-op does with its command line, once main.cpp has found all that it needs.
#include <cstdio>
#include <exception>

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include "commands/commands.h"
#include "output/failure.h"
#include "output/text.h"
#include "start/launch.h"

namespace {

constexpr const char* kExitCodes =
    "Exit codes:\n"
    "  0  done; with watch and start --foreground: the evaluation completed\n"
    "  1  the appliance reports a failure, or the evaluation failed\n"
    "  2  the command line is not understood\n"
    "  3  refused: the request breaks a rule, for example drives in use, or no measured ratio\n"
    "     fulfils the wish of recommend, or compare is given a record without rates\n"
    "  4  no such record or drive\n"
    "  5  not confirmed\n"
    "  6  the evaluation that was followed has been stopped\n"
    "  7  the evaluation that was followed still runs: Ctrl-C ended the following\n"
    "\n"
    "Examples:\n"
    "  ssd-op start --raid 5 --drives sda,sdb,sdc,sdd --foreground\n"
    "  ssd-op --host drives list\n"
    "\n"
    "On a host, --host or SSD_OP_PROVIDER=host in the environment chooses its own drives, and "
    "there are\n"
    "also: drives list, drives enroll, drives release, cleanup; each tells more with --help.";

void add_commands(cli::Arguments& app) {
    cli::add_drives_command(app);
    cli::add_start_command(app);
    cli::add_status_command(app);
    cli::add_watch_command(app);
    cli::add_stop_command(app);
    cli::add_list_command(app);
    cli::add_show_command(app);
    cli::add_recommend_command(app);
    cli::add_compare_command(app);
    cli::add_export_command(app);
    cli::add_report_command(app);
    cli::add_delete_command(app);
    cli::add_limit_command(app);
    cli::add_events_command(app);
    cli::add_consent_command(app);
    cli::add_db_command(app);
}

/// What is opened would otherwise take the place of a stream that the caller has closed, and what
/// is printed go there.
void open_closed_streams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) < 0) ::open("/dev/null", O_RDWR);
    }
}

int run(int argc, char** argv) {
    cli::Arguments app(
        "Evaluates how much over-provisioning (OP) SSDs need: the share of them that is left free "
        "so "
        "that they write faster.",
        "ssd-op");
    app.require_one_subcommand();
    app.footer(kExitCodes);
    app.version("ssd-op " SSD_OP_VERSION);
    // The program around this module takes it off; it is here to be told of.
    bool on_host = false;
    app.flag("--host", on_host, "Work on the drives of this host; the first word of all");
    add_commands(app);
    return app.parse(argc, argv).value_or(0) == 0 ? cli::kDone : cli::kWrongUsage;
}

int run_and_tell_failure(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const cli::Failure& failure) {
        std::fflush(stdout);
        fmt::print(stderr, "ssd-op: {}\n", failure.what());
        if (!failure.advice().empty()) fmt::print(stderr, "{}\n", cli::as_called(failure.advice()));
        return failure.code();
    } catch (const std::exception& error) {
        fmt::print(stderr, "ssd-op: {}\n", error.what());
        return cli::kFailed;
    }
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int ssd_op_command_line(int argc, char** argv) {
    open_closed_streams();
    cli::remember_arguments(argc, argv);
    const int code = run_and_tell_failure(argc, argv);
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return code;
    fmt::print(stderr, "ssd-op: Not all of the output could be written.\n");
    return code == cli::kDone ? cli::kFailed : code;
}
