#include <fmt/format.h>

#include "commands/commands.h"
#include "output/text.h"
#include "view/record_output.h"
#include "view/record_plot.h"

namespace cli {

namespace {

struct Options {
    int record_no = 0;
    bool json = false;
    bool plot = false;
};

std::string plots_text(const ssd_op_db_record& record) {
    return cut(record_line(record), kPlotWidth) + "\n\n" + record_plots(record, terminal_charset());
}

void run(const Options& options) {
    const Record record = require_record(options.record_no);
    if (options.json)
        print_json(record_json(*record));
    else if (options.plot)
        fmt::print("{}", plots_text(*record));
    else
        fmt::print("{}", record_text(*record));
}

}  // namespace

void add_show_command(Arguments& app) {
    auto [command, options] = add_command(
        app, "show", "Show a record: figures of each OP ratio, drives, the appliance", run);
    command.add("RECORD", options.record_no, "Its number, from ssd-op list").required();
    const Argument json = add_json_flag(command, options.json);
    command.flag("--plot", options.plot, "Draw the IOPS over OP and over time, 80 columns wide")
        .excludes(json);
    command.footer("Examples:\n  ssd-op show 3\n  ssd-op show 3 --plot");
}

}  // namespace cli
