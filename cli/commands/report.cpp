#include <csignal>
#include <filesystem>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "commands/commands.h"
#include "commands/file_options.h"
#include "commands/wish_options.h"
#include "model/record.h"
#include "output/failure.h"
#include "output/terminal.h"
#include "output/text.h"
#include "page/page.h"
#include "page/report_data.h"
#include "process/interrupt.h"
#include "process/outer_path.h"
#include "process/report_copy.h"
#include "process/report_making.h"

namespace cli {

namespace {

constexpr size_t kMostRecords = 20;

struct Options {
    std::vector<int> record_nos;
    WishOptions wishes;
    FileOptions file;
};

void check(const Options& options) {
    if (options.record_nos.size() > kMostRecords)
        throw Failure(kRefused, fmt::format("A page has at most {} records.", kMostRecords),
                      "Make several pages.");
    require_distinct(options.record_nos);
    check_output(options.file);
    for (const int record_no : options.record_nos) require_existence(record_no);
}

void tell(const Options& options, const std::string& path) {
    if (options.file.json) {
        print_json({{"records", options.record_nos},
                    {"format", "html"},
                    {"path", outer_path(path)},
                    {"bytes", std::filesystem::file_size(path)}});
    } else {
        fmt::print("The report lies in {}\n", printable(outer_path(path)));
    }
}

void run(const Options& options) {
    check(options);
    const Json data =
        report_data(options.record_nos, options.wishes.wish, options.wishes.endurance_tb);
    const MadeReport report = hold_report(page_of(data));
    if (options.file.prints()) return print_report(report);
    const Interrupt interrupt({SIGINT, SIGTERM, SIGHUP});
    const std::string name =
        fmt::format("ssd-op-report-{}.html", fmt::join(options.record_nos, "-"));
    const std::string path = copy_path(name, options.file.output);
    copy_report(report, path, options.file.force, interrupt);
    tell(options, path);
}

}  // namespace

void add_report_command(Arguments& app) {
    auto [command, options] = add_command(
        app, "report", "Make a web page of records: recommendation, charts, drives, events", run);
    command.add("RECORD", options.record_nos, "Their numbers, from ssd-op list").required();
    add_wish_options(command, options.wishes);
    add_file_options(command, options.file, "File or directory for the page, - to print it")
        .required();
    command.footer(
        "The page is one file that needs no network: it can be mailed, printed, and read on a "
        "phone.\n\n"
        "Exit codes: 0 written, 1 it cannot be written, 3 the file is there already or a record is "
        "one too many, 4 no such record\n\n"
        "Examples:\n"
        "  ssd-op report 3 --output nightly.html\n"
        "  ssd-op report 3 4 --min-iops 20000 --output /share/Public");
}

}  // namespace cli
