#include "core/text.h"

#include <array>
#include <iterator>

#include <fmt/format.h>

namespace host {

std::string printable(std::string_view text) {
    constexpr size_t kMost = 200;
    std::string shown;
    for (const char character : text) {
        if (shown.size() >= kMost) return shown + "...";
        if (character >= ' ' && character <= '~' && character != '\\')
            shown += character;
        else
            shown += fmt::format("\\x{:02x}", static_cast<unsigned char>(character));
    }
    return shown;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kBlank(" \t\r\n\0", 5);
    const size_t first = text.find_first_not_of(kBlank);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    while (true) {
        const size_t end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos) return parts;
        text.remove_prefix(end + 1);
    }
}

std::string unescaped(std::string_view text) {
    const auto octal = [](char digit) { return digit >= '0' && digit <= '7'; };
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && text.size() - i > 3 && octal(text[i + 1]) && octal(text[i + 2]) &&
            octal(text[i + 3])) {
            plain += static_cast<char>((text[i + 1] - '0') << 6 | (text[i + 2] - '0') << 3 |
                                       (text[i + 3] - '0'));
            i += 3;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

std::string size_text(double bytes) {
    constexpr std::array kUnits{"B", "kB", "MB", "GB", "TB", "PB", "EB"};
    size_t unit = 0;
    while (bytes >= 999.5 && unit + 1 < kUnits.size()) {
        bytes /= 1000;
        ++unit;
    }
    return fmt::format("{:.3g} {}", bytes, kUnits[unit]);
}

}  // namespace host
