#include <vector>

#include <fmt/format.h>

#include "commands/commands.h"
#include "model/record.h"
#include "output/failure.h"
#include "output/terminal.h"
#include "view/comparison_output.h"

namespace cli {

namespace {

constexpr size_t kMostRecords = 16;

struct Options {
    std::vector<int> record_nos;
    bool json = false;
};

void check_numbers(const std::vector<int>& record_nos) {
    if (record_nos.size() < 2 || record_nos.size() > kMostRecords) {
        throw Failure(
            kWrongUsage,
            fmt::format(
                "Two to {} records can be compared, {} named.", kMostRecords,
                record_nos.size() == 1 ? "one is" : fmt::format("{} are", record_nos.size())),
            "ssd-op list shows them.");
    }
    require_distinct(record_nos);
}

void run(const Options& options) {
    check_numbers(options.record_nos);
    std::vector<Assessment> assessments;
    for (const int record_no : options.record_nos) assessments.push_back(assess(record_no, {}, {}));
    if (options.json)
        print_json(comparison_json(assessments));
    else
        fmt::print("{}", comparison_text(assessments));
}

}  // namespace

void add_compare_command(Arguments& app) {
    auto [command, options] =
        add_command(app, "compare", "Show records side by side, and where their curves cross", run);
    command.add("RECORD", options.record_nos, "Numbers of two or more, from ssd-op list")
        .required();
    add_json_flag(command, options.json);
    command.footer(
        "Exit codes: 0 compared, 3 no ratio of one of them was measured, 4 no such record\n\n"
        "Example:\n  ssd-op compare 3 5");
}

}  // namespace cli
