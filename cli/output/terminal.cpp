#include "output/terminal.h"

#include <cstdio>
#include <iostream>

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "output/failure.h"
#include "output/text.h"

namespace cli {

namespace {

/// Titles and drive identities may hold bytes that are no UTF-8; JSON may not.
void print_json(const Json& json, int indent) {
    fmt::print("{}\n", json.dump(indent, ' ', false, Json::error_handler_t::replace));
}

size_t terminal_width() {
    winsize size{};
    const bool known = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : 80;
}

}  // namespace

void print_json(const Json& json) { print_json(json, 2); }

void print_json_line(const Json& json) { print_json(json, -1); }

bool stdout_is_terminal() { return ::isatty(STDOUT_FILENO) == 1; }

bool confirmed(const std::string& question) {
    if (::isatty(STDIN_FILENO) != 1) {
        throw Failure(kNotConfirmed,
                      "This needs your agreement, and there is no terminal to ask on.",
                      "Add --yes once you are sure.");
    }
    fmt::print(stderr, "{} Type yes to go on: ", question);
    std::fflush(stderr);
    std::string answer;
    return std::getline(std::cin, answer) && answer == "yes";
}

void LiveBlock::show(const std::vector<std::string>& lines) {
    if (height_ > 0) fmt::print("\x1b[{}A", height_);
    const size_t width = terminal_width();
    for (const std::string& line : lines) fmt::print("{}\x1b[K\n", cut(line, width));
    fmt::print("\x1b[J");
    std::fflush(stdout);
    height_ = lines.size();
}

}  // namespace cli
