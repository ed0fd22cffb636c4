#include <array>
#include <csignal>
#include <filesystem>
#include <memory>

#include <fmt/format.h>

#include "activity.h"
#include "child_answer.h"
#include "commands.h"
#include "failure.h"
#include "interrupt.h"
#include "record.h"
#include "report_copy.h"
#include "terminal.h"
#include "text.h"

namespace cli {

namespace {

struct Options {
    int record_no = 0;
    bool csv = false;
    bool xlsx = false;
    std::string output;
    bool force = false;
    bool json = false;

    bool prints() const { return output == "-"; }
};

/// What the process that writes the report tells about it.
struct Written {
    int result = -1;
    std::array<char, 512> path{};
};

Written write_report(const Options& options) {
    // The library then leaves no half report in /tmp.
    for (const int ending : {SIGINT, SIGHUP, SIGTERM}) ::signal(ending, SIG_IGN);
    Written written;
    const auto write = options.csv ? SSD_OP_Test_Export_CSV : SSD_OP_Test_Export_XLSX;
    written.result =
        write(options.record_no, written.path.data(), static_cast<int>(written.path.size()));
    return written;
}

/// The library writes a report in one call, so that a process of its own makes it while this one
/// shows that something goes on.
/// @return the report's path
std::string write_report_visibly(const Options& options) {
    const auto written =
        ask_child<Written>([&] { return write_report(options); },
                           [](pid_t writer) { show_activity(writer, "Writing the report"); });
    if (!written || written->result != 0) {
        throw Failure(kFailed,
                      fmt::format("The report of record {} cannot be written.", options.record_no),
                      "Is there room in /tmp? The appliance's trace log tells more.");
    }
    return written->path.data();
}

void check(const Options& options) {
    if (options.prints() && (options.xlsx || options.json)) {
        throw Failure(kRefused,
                      options.xlsx ? "A workbook is not for the terminal."
                                   : "The report and JSON cannot share the output.",
                      "Name a file: --output FILE");
    }
    std::error_code ignored;
    if (!options.output.empty() && !options.prints() &&
        !std::filesystem::is_directory(options.output, ignored))
        refuse_existing(options.output, options.force);
    require_record(options.record_no);
}

void tell(const Options& options, const std::string& path) {
    if (options.json) {
        print_json({{"record", options.record_no},
                    {"format", options.csv ? "csv" : "xlsx"},
                    {"path", path},
                    {"bytes", std::filesystem::file_size(path)}});
    } else {
        fmt::print("The report of record {} lies in {}\n", options.record_no, printable(path));
    }
}

void run(const Options& options) {
    check(options);
    const Interrupt interrupt;  // the report is written to its end, the copy is not
    const std::string report = write_report_visibly(options);
    if (options.prints()) return print_report(report, interrupt);
    const std::string path = options.output.empty() ? report : copy_path(report, options.output);
    copy_report(report, path, options.force, interrupt);
    tell(options, path);
}

}  // namespace

void add_export_command(CLI::App& app) {
    auto* command = app.add_subcommand("export", "Write all about a record to a file");
    auto options = std::make_shared<Options>();
    command->add_option("RECORD", options->record_no, "Its number, from ssd-op list")->required();
    auto* format = command->add_option_group("Format")->require_option(1);
    format->add_flag("--csv", options->csv, "Comma-separated text, with all samples");
    format->add_flag("--xlsx", options->xlsx, "A workbook with charts");
    auto* output = command->add_option(
        "--output", options->output,
        "File or directory for a copy, - to print a CSV report; without it, the "
        "report is left in /tmp");
    output->check([](const std::string& name) {
        return name.empty() ? "a file has no empty name" : std::string();
    });
    command->add_flag("--force", options->force, "Write over a file")->needs(output);
    add_json_flag(*command, options->json);
    command->footer(
        "Exit codes: 0 written, 1 it cannot be written, 3 the file is there already, 4 no such "
        "record\n\n"
        "Examples:\n"
        "  ssd-op export 3 --xlsx --output nightly.xlsx\n"
        "  ssd-op export 3 --csv --output - | less");
    command->callback([options] { run(*options); });
}

}  // namespace cli
