#include <fmt/format.h>

#include "commands/commands.h"
#include "commands/wish_options.h"
#include "output/failure.h"
#include "output/terminal.h"
#include "view/recommendation_json.h"
#include "view/recommendation_output.h"

namespace cli {

namespace {

struct Options {
    int record_no = 0;
    WishOptions wishes;
    bool json = false;
};

/// The refusal itself says what a record without a knee wants.
std::string advice_for(const Assessment& assessment) {
    if (!assessment.recommendation.required) return "";
    return fmt::format("Wish for less, or measure beyond OP {} %: ssd-op start with --max-op.",
                       assessment.rates.back().op);
}

void run(const Options& options) {
    const Assessment assessment =
        assess(options.record_no, options.wishes.wish, options.wishes.endurance_tb);
    if (options.json)
        print_json(recommendation_json(assessment));
    else
        fmt::print("{}", recommendation_text(assessment));
    if (!assessment.recommendation.chosen)
        throw Failure(kRefused, refusal_text(assessment.recommendation), advice_for(assessment));
}

}  // namespace

void add_recommend_command(Arguments& app) {
    auto [command, options] =
        add_command(app, "recommend",
                    "Tell how much OP the drives of a record need, and how sure that is", run);
    command.add("RECORD", options.record_no, "Its number, from ssd-op list").required();
    add_wish_options(command, options.wishes);
    add_json_flag(command, options.json);
    command.footer(
        "Without a wish it recommends the knee of the curve: the measured ratio up to which each\n"
        "percent brings much, and beyond which it brings less.\n\n"
        "Excursion and slope tell how far apart the rates of the last five rounds of a minute "
        "lie,\n"
        "and how much they change over them, as shares of their mean; up to 20 % and 10 % the "
        "ratio\n"
        "is steady. Lifetime is that of the drives, as a multiple of that at the lowest measured\n"
        "ratio. The fit is a curve of theory through the measured rates, for the ratios "
        "between.\n\n"
        "Exit codes: 0 a ratio is recommended, 3 none is or none was measured, 4 no such record\n\n"
        "Examples:\n"
        "  ssd-op recommend 3 --min-iops 20000\n"
        "  ssd-op recommend 3 --gain 150 --endurance 300");
}

}  // namespace cli
