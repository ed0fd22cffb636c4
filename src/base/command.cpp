#include "base/command.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <vector>

#include "platform/hal.h"

namespace ssd_op::base {

namespace {

bool is_harmless(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("_-+./:@%,=").find(c) != std::string_view::npos;
}

std::string with_backslashes(std::string_view value, std::string_view before) {
    std::string escaped;
    escaped.reserve(value.size());
    for (const char c : value) {
        if (before.find(c) != std::string_view::npos) escaped += '\\';
        escaped += c;
    }
    return escaped;
}

}  // namespace

std::string shell_word(std::string_view value) {
    if (!value.empty() && std::all_of(value.begin(), value.end(), is_harmless))
        return std::string(value);
    return "'" + inside_single_quotes(value) + "'";
}

std::string inside_single_quotes(std::string_view value) {
    std::string escaped;
    escaped.reserve(value.size());
    for (const char c : value) {
        if (c == '\'')
            escaped += "'\\''";
        else
            escaped += c;
    }
    return escaped;
}

std::string inside_double_quotes(std::string_view value) {
    return with_backslashes(value, "\"\\$`");
}

std::string inside_dollar_quotes(std::string_view value) { return with_backslashes(value, "'\\"); }

int run(const std::string& line) { return Get_Command_Result(line.c_str(), nullptr, 0); }

int run_and_wait(const std::string& line) {
    const auto previous = ::signal(SIGCHLD, SIG_DFL);
    const int status = std::system(line.c_str());
    ::signal(SIGCHLD, previous);
    return status;
}

Printed run_and_read(const std::string& line, int limit) {
    std::vector<char> buffer(static_cast<size_t>(std::max(limit, 1)), '\0');
    const int result = Get_Command_Result(line.c_str(), buffer.data(), limit);
    buffer.back() = '\0';
    return {result, buffer.data()};
}

}  // namespace ssd_op::base
