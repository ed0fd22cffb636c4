#include "terminal.h"

#include <cstdio>
#include <iostream>

#include <fmt/format.h>
#include <unistd.h>

#include "failure.h"

namespace cli {

void print_json(const Json& json) {
    // Titles and drive identities may hold bytes that are no UTF-8; JSON may not.
    fmt::print("{}\n", json.dump(2, ' ', false, Json::error_handler_t::replace));
}

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

LiveLine::LiveLine() : live_(stdout_is_terminal()) {}

LiveLine::~LiveLine() {
    if (live_ && !shown_.empty()) std::puts("");
}

void LiveLine::show(const std::string& text) {
    if (text == shown_) return;
    shown_ = text;
    if (live_)
        fmt::print("\r{}\x1b[K", text);
    else
        fmt::print("{}\n", text);
    std::fflush(stdout);
}

}  // namespace cli
