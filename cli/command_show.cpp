#include <memory>

#include <fmt/format.h>

#include "commands.h"
#include "record_output.h"

namespace cli {

namespace {

struct Options {
    int record_no = 0;
    bool json = false;
};

void run(const Options& options) {
    const Record record = load_record(options.record_no);
    if (options.json)
        print_json(record_json(*record));
    else
        fmt::print("{}", record_text(*record));
}

}  // namespace

void add_show_command(CLI::App& app) {
    auto* command = app.add_subcommand(
        "show", "Show a record: figures of each OP ratio, drives, the appliance");
    auto options = std::make_shared<Options>();
    command->add_option("RECORD", options->record_no, "Its number, from ssd-op list")->required();
    add_json_flag(*command, options->json);
    command->footer("Example:\n  ssd-op show 3");
    command->callback([options] { run(*options); });
}

}  // namespace cli
