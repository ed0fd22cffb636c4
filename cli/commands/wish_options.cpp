#include "commands/wish_options.h"

#include <cstdlib>

namespace cli {

namespace {

constexpr double kLargest = 1e12;  // of a figure that is asked for

std::string complaint_about_figure(const std::string& text) {
    const double figure = std::strtod(text.c_str(), nullptr);
    return figure > 0 && figure <= kLargest ? "" : text + " is not above 0, or beyond all reason";
}

}  // namespace

void add_wish_options(Arguments& command, WishOptions& options) {
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
}

}  // namespace cli
