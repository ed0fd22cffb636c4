#include "report/xlsx_text.h"

#include <algorithm>
#include <cctype>
#include <cstdint>

namespace ssd_op::report {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
constexpr std::string_view kEscapedUnderscore = "_x005F_";

unsigned byte_at(std::string_view text, size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
}

/// Bytes of the character that the text begins with; 0 when XML cannot hold it.
size_t character_size(std::string_view text) {
    const unsigned first = byte_at(text, 0);
    if (first < 0x80) return 1;
    if (first < 0xC2 || first > 0xF4) return 0;
    const size_t size = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    uint32_t code = first & (0x7FU >> size);
    for (size_t i = 1; i < size; ++i) {
        const unsigned next = byte_at(text, i);
        if ((next & 0xC0U) != 0x80) return 0;
        code = code << 6 | (next & 0x3FU);
    }
    constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    const bool no_character = code == 0xFFFE || code == 0xFFFF || code > 0x10FFFF;
    return code < kSmallest[size] || surrogate || no_character ? 0 : size;
}

/// Whether the text begins with "_xHHHH_".
bool begins_with_notation(std::string_view text) {
    return text.size() >= 7 && text.starts_with("_x") && text[6] == '_' &&
           std::all_of(text.begin() + 2, text.begin() + 6,
                       [](unsigned char digit) { return std::isxdigit(digit) != 0; });
}

}  // namespace

std::string cell_text(std::string_view text) {
    std::string cell;
    while (!text.empty()) {
        const size_t size = character_size(text);
        if (size == 0)
            cell += kReplacement;
        else if (begins_with_notation(text))
            cell += kEscapedUnderscore;
        else
            cell += text.substr(0, size);
        text.remove_prefix(std::max<size_t>(size, 1));
    }
    return cell;
}

std::string column_name(unsigned column) {
    std::string name;
    for (; column > 0; column = (column - 1) / 26)
        name.insert(name.begin(), static_cast<char>('A' + (column - 1) % 26));
    return name;
}

}  // namespace ssd_op::report
