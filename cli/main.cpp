/// ssd-op: how much over-provisioning do these SSDs need? The command line of libssd_op.
#include <cstdio>
#include <exception>

#include <fmt/format.h>

#include "commands.h"
#include "failure.h"
#include "launch.h"

namespace {

constexpr const char* kExitCodes =
    "Exit codes:\n"
    "  0  done; with watch and start --foreground: the evaluation completed\n"
    "  1  the appliance reports a failure, or the evaluation failed\n"
    "  2  the command line is not understood\n"
    "  3  refused: the request breaks a rule, for example drives in use\n"
    "  4  no such record or drive\n"
    "  5  not confirmed\n"
    "  6  the evaluation that was followed has been stopped\n"
    "  7  the evaluation that was followed still runs: Ctrl-C ended the following\n"
    "\n"
    "Example:\n"
    "  ssd-op start --raid 5 --drives sda,sdb,sdc,sdd --foreground";

void add_commands(CLI::App& app) {
    cli::add_drives_command(app);
    cli::add_start_command(app);
    cli::add_status_command(app);
    cli::add_watch_command(app);
    cli::add_stop_command(app);
    cli::add_list_command(app);
    cli::add_show_command(app);
    cli::add_export_command(app);
    cli::add_delete_command(app);
    cli::add_limit_command(app);
    cli::add_events_command(app);
    cli::add_consent_command(app);
    cli::add_db_command(app);
}

int run(int argc, char** argv) {
    CLI::App app("Evaluates how much over-provisioning SSDs need.", "ssd-op");
    app.require_subcommand(1);
    app.footer(kExitCodes);
    add_commands(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? cli::kDone : cli::kWrongUsage;
    }
    return cli::kDone;
}

}  // namespace

int main(int argc, char** argv) {
    cli::remember_arguments(argc, argv);
    try {
        return run(argc, argv);
    } catch (const cli::Failure& failure) {
        std::fflush(stdout);
        fmt::print(stderr, "ssd-op: {}\n", failure.what());
        if (!failure.advice().empty()) fmt::print(stderr, "{}\n", failure.advice());
        return failure.code();
    } catch (const std::exception& error) {
        fmt::print(stderr, "ssd-op: {}\n", error.what());
        return cli::kFailed;
    }
}
