#include <cstdlib>

#include <fmt/format.h>

#include "commands/commands.h"
#include "output/failure.h"
#include "output/terminal.h"
#include "view/recommendation_json.h"
#include "view/recommendation_output.h"

namespace cli {

namespace {

constexpr double kLargest = 1e12;  // of a figure that is asked for

struct Options {
    int record_no = 0;
    Wish wish;
    std::optional<double> endurance_tb;
    bool json = false;
};

std::string complaint_about_figure(const std::string& text) {
    const double figure = std::strtod(text.c_str(), nullptr);
    return figure > 0 && figure <= kLargest ? "" : text + " is not above 0, or beyond all reason";
}

void run(const Options& options) {
    const Assessment assessment = assess(options.record_no, options.wish, options.endurance_tb);
    if (options.json)
        print_json(recommendation_json(assessment));
    else
        fmt::print("{}", recommendation_text(assessment));
    if (!assessment.recommendation.chosen)
        throw Failure(kRefused, refusal_text(assessment.recommendation));
}

}  // namespace

void add_recommend_command(Arguments& app) {
    auto [command, options] =
        add_command(app, "recommend",
                    "Tell how much OP the drives of a record need, and how sure that is", run);
    command.add("RECORD", options.record_no, "Its number, from ssd-op list").required();
    command.add("--min-iops", options.wish.min_iops, "IOPS that the drives have to sustain")
        .check(complaint_about_figure);
    command
        .add("--gain", options.wish.gain_percent,
             "Percent that they have to do more than at the lowest measured ratio")
        .check(complaint_about_figure);
    command
        .add("--endurance", options.endurance_tb,
             "Terabytes that may be written to the flash of one drive; tells how many of the host "
             "they are")
        .check(complaint_about_figure);
    add_json_flag(command, options.json);
    command.footer(
        "Without a wish it recommends the knee of the curve.\n\n"
        "Exit codes: 0 a ratio is recommended, 3 none is or none was measured, 4 no such record\n\n"
        "Examples:\n"
        "  ssd-op recommend 3 --min-iops 20000\n"
        "  ssd-op recommend 3 --gain 150 --endurance 300");
}

}  // namespace cli
