/// ssd-op-host: the drives of this host, and which of them are given to ssd-op.

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <string>
#include <utility>

#include <fmt/format.h>
#include <unistd.h>

#include "core/failure.h"
#include "core/text.h"
#include "enrolment/enrolment.h"
#include "programs/drive_list.h"
#include "programs/leftovers.h"
#include "programs/program.h"
#include "shared/command_line.h"
#include "storage/cleanup.h"
#include "taking/release.h"

namespace {

using namespace host;
using ssd_op::shared::Arguments;

constexpr int kFailed = 1;

struct Options {
    bool json = false;
    Enrolment enrolment;
    std::string forget;
};

std::string ask_on_terminal(const std::string& summary) {
    if (::isatty(STDIN_FILENO) == 0) {
        throw Failure("The serial number has to be typed, and there is no terminal.",
                      "In a script: --yes-erase SERIAL");
    }
    fmt::print(
        "{}\nAll data on this drive will be lost when it is evaluated.\n"
        "Type its serial number to enroll it: ",
        summary);
    std::fflush(stdout);
    std::string typed;
    std::getline(std::cin, typed);
    return std::string(trimmed(typed));
}

/// Others would be told of drives that cannot be opened and directories that are not theirs.
std::function<void()> as_root(std::function<void()> work) {
    return [work = std::move(work)] {
        if (::geteuid() != 0) {
            throw Failure("The drives of this host are for root alone.",
                          "Please run it as root: sudo ssd-op --host ...");
        }
        work();
    };
}

void list(const Roots& roots, const Options& options) {
    const auto drives = load_listed_drives(roots);
    if (!options.json) return fmt::print("{}", table_of(drives));
    fmt::print("{}\n", json_of(drives).dump(2, ' ', true, Json::error_handler_t::replace));
}

void add_commands(Arguments& app, const Roots& roots, Options& options) {
    Arguments drives = app.subcommand("drives", "The drives of this host");
    drives.require_one_subcommand();

    Arguments show = drives.subcommand("list", "List the SSDs, and why some cannot be used");
    show.flag("--json", options.json, "Print JSON");
    show.callback(as_root([&] { list(roots, options); }));

    Arguments give = drives.subcommand("enroll", "Give a drive to ssd-op: its data will be lost");
    give.add("SERIAL", options.enrolment.serial, "The drive's serial number").required();
    give.add("--yes-erase", options.enrolment.yes_erase,
             "The serial number again, in the place of typing it");
    give.flag("--wipe", options.enrolment.wish.wipe, "What is on the drive may go");
    give.callback(as_root([&] {
        enroll(roots, options.enrolment, ask_on_terminal);
        fmt::print("The drive {} is enrolled.\n", options.enrolment.serial);
    }));
    give.footer("Example:\n  ssd-op-host drives enroll S4X1NF0M123456");

    Arguments back = drives.subcommand("release", "Take a drive back from ssd-op");
    back.add("SERIAL", options.enrolment.serial, "The drive's serial number").required();
    back.callback(as_root([&] {
        release(roots, options.enrolment.serial);
        fmt::print("The drive {} is released.\n", printable(options.enrolment.serial));
    }));
}

void add_cleanup(Arguments& app, const Roots& roots, Options& options, int& status) {
    Arguments cleanup = app.subcommand(
        "cleanup", "Give back all that evaluations have left: volumes, pools, drives");
    cleanup.add(
        "--forget", options.forget,
        "The serial number of a drive that is gone or broken for good: nothing is undone on it");
    cleanup.callback(as_root([&] {
        const bool all = clean_up(roots, options.forget, [](const std::string& line) {
            fmt::print("{}\n", line);
            std::fflush(stdout);
        });
        fmt::print("{}\n", all ? "Nothing is left to undo."
                               : "The rest stays in the undo list: run it again after that.");
        status = all ? 0 : kFailed;
    }));
}

int run(int argc, char** argv) {
    Roots roots;
    // As host/enter takes it, which shows it under its usual name inside.
    if (const char* state = std::getenv("SSD_OP_HOST_STATE")) roots.state = state;
    Options options;
    Arguments app("Which drives of this host ssd-op may use", "ssd-op-host");
    app.require_one_subcommand();
    int status = 0;
    add_commands(app, roots, options);
    add_cleanup(app, roots, options, status);
    app.subcommand("leftovers", "Offer to undo what is left of an evaluation that is gone")
        .callback(as_root([&] { offer_cleanup(roots); }));
    return app.parse(argc, argv).value_or(status);
}

}  // namespace

int main(int argc, char** argv) {
    return host::run_program("ssd-op-host", [&] { return run(argc, argv); });
}
