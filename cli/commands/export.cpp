#include <csignal>
#include <filesystem>

#include <fmt/format.h>

#include "commands/commands.h"
#include "commands/file_options.h"
#include "model/record.h"
#include "output/failure.h"
#include "output/terminal.h"
#include "output/text.h"
#include "process/interrupt.h"
#include "process/outer_path.h"
#include "process/report_copy.h"
#include "process/report_making.h"

namespace cli {

namespace {

constexpr auto kEndings = {SIGINT, SIGTERM, SIGHUP};

struct Options {
    int record_no = 0;
    bool csv = false;
    bool xlsx = false;
    FileOptions file;
};

void check(const Options& options) {
    if (options.file.prints() && options.xlsx)
        throw Failure(kRefused, "A workbook is not for the terminal.",
                      "Name a file: --output FILE");
    check_output(options.file);
    require_existence(options.record_no);
}

void tell(const Options& options, const std::string& path) {
    if (options.file.json) {
        print_json({{"record", options.record_no},
                    {"format", options.csv ? "csv" : "xlsx"},
                    {"path", outer_path(path)},
                    {"bytes", std::filesystem::file_size(path)}});
    } else {
        fmt::print("The report of record {} lies in {}\n", options.record_no,
                   printable(outer_path(path)));
    }
}

/// On return signals end the program again, as a reader's full pipe needs it, and others can
/// export.
MadeReport make_report_to_print(const Options& options) {
    const Interrupt interrupt(kEndings);
    MadeReport report =
        make_report(options.record_no, options.csv, ExportLock(interrupt), interrupt);
    if (interrupt.happened()) throw Failure(kFailed, "The export was interrupted.");
    return report;
}

void export_to_file(const Options& options) {
    const Interrupt interrupt(kEndings);  // the report is written to its end, the copy is not
    const ExportLock lock(interrupt);
    const MadeReport report = make_report(options.record_no, options.csv, lock, interrupt);
    const std::string path =
        options.file.output.empty() ? report.path : copy_path(report.path, options.file.output);
    copy_report(report, path, options.file.force, interrupt);
    tell(options, path);
}

void run(const Options& options) {
    check(options);
    if (options.file.prints())
        print_report(make_report_to_print(options));
    else
        export_to_file(options);
}

}  // namespace

void add_export_command(Arguments& app) {
    auto [command, options] = add_command(app, "export", "Write all about a record to a file", run);
    command.add("RECORD", options.record_no, "Its number, from ssd-op list").required();
    Arguments format = command.alternatives("Format");
    format.flag("--csv", options.csv, "Comma-separated text, with all samples");
    format.flag("--xlsx", options.xlsx, "A workbook with charts");
    add_file_options(
        command, options.file,
        "File or directory for a copy, - to print a CSV report; without it, the report is left in "
        "/tmp");
    command.footer(
        "Exit codes: 0 written, 1 it cannot be written, 3 the file is there already, 4 no such "
        "record\n\n"
        "Examples:\n"
        "  ssd-op export 3 --xlsx --output nightly.xlsx\n"
        "  ssd-op export 3 --csv --output - | less");
}

}  // namespace cli
