#include "event/message.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

#include "base/text.h"

namespace ssd_op::event {

namespace {

constexpr int kMostArguments = 64;
constexpr size_t kMostOfEntry = 255;  // characters of an entry's text put into another one

/// The text of the entry that "%V001%" names, or the argument itself when it names none.
std::string_view expand(std::string_view argument) {
    constexpr std::string_view kMark = "%V";
    if (!argument.starts_with(kMark)) return argument;
    const std::string digits(
        argument.substr(kMark.size(), argument.find('%', kMark.size()) - kMark.size()));
    const long number = std::strtol(digits.c_str(), nullptr, 10);
    const NASLOG_MESSAGE* entry = number < 1 ? nullptr : table_entry(number);
    if (entry == nullptr || entry->text == nullptr) return argument;
    return std::string_view(entry->text).substr(0, kMostOfEntry);
}

std::string fill(std::string_view rest, const char* const* arguments) {
    std::string filled;
    for (int i = 0; i < kMostArguments && arguments[i] != nullptr; ++i) {
        const std::string placeholder = "{" + std::to_string(i) + "}";
        const size_t position = rest.find(placeholder);
        if (position == std::string_view::npos) continue;
        filled += rest.substr(0, position);
        filled += expand(arguments[i]);
        rest.remove_prefix(position + placeholder.size());
    }
    filled += rest;
    return filled;
}

}  // namespace

const NASLOG_MESSAGE* table_entry(long number) {
    return number >= 0 && number < A255_LIST_SIZE ? &A255_list[number] : nullptr;
}

int ssd_op_fill_message(char* output, int size, const char* text, const char* const* arguments) {
    if (output == nullptr || size <= 0) return -1;
    base::copy_text(output, static_cast<size_t>(size),
                    fill(text != nullptr ? text : "", arguments));
    return 0;
}

}  // namespace ssd_op::event
