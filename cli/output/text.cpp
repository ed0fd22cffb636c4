#include "output/text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdlib>

#include <fmt/chrono.h>
#include <fmt/format.h>

namespace cli {

namespace {

/// A byte of a character of UTF-8 other than its first.
bool continues(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

/// Bytes of the character of UTF-8 that the text begins with; 0 when they are none.
size_t character_size(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    const size_t size = first < 0x80   ? 1
                        : first < 0xC2 ? 0
                        : first < 0xE0 ? 2
                        : first < 0xF0 ? 3
                        : first < 0xF5 ? 4
                                       : 0;
    if (size < 2) return size;
    if (text.size() < size || !std::all_of(&text[1], &text[0] + size, continues)) return 0;
    const auto second = static_cast<unsigned char>(text[1]);
    const bool allowed = (first != 0xE0 || second >= 0xA0) && (first != 0xED || second < 0xA0) &&
                         (first != 0xF0 || second >= 0x90) && (first != 0xF4 || second < 0x90);
    return allowed ? size : 0;
}

bool is_control(std::string_view character) {
    const auto first = static_cast<unsigned char>(character[0]);
    if (character.size() == 1) return first < 0x20 || first == 0x7F;
    return first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
}

}  // namespace

std::string printable(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const size_t size = character_size(text);
        const std::string_view character = text.substr(0, std::max<size_t>(size, 1));
        if (size > 0 && !is_control(character)) {
            shown += character;
        } else {
            for (const char c : character)
                shown += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
        }
        text.remove_prefix(character.size());
    }
    return shown;
}

std::string as_called(std::string text) {
    const char* const inside = std::getenv("SSD_OP_INSIDE");
    if (inside == nullptr || std::string_view(inside) != "host") return text;
    constexpr std::string_view kName = "ssd-op ";
    for (size_t at = text.find(kName); at != std::string::npos; at = text.find(kName, at)) {
        at += kName.size();
        if (at < text.size() && std::islower(static_cast<unsigned char>(text[at])) != 0)
            text.insert(at, "--host ");
    }
    return text;
}

size_t columns(std::string_view text) {
    return text.size() - static_cast<size_t>(std::count_if(text.begin(), text.end(), continues));
}

std::string cut(std::string_view text, size_t width) {
    size_t end = 0;
    for (size_t count = 0; end < text.size(); ++end) {
        if (!continues(text[end]) && ++count > width) break;
    }
    return std::string(text.substr(0, end));
}

std::string size_text(uint64_t bytes) {
    constexpr std::array kUnits = {"B", "kB", "MB", "GB", "TB", "PB", "EB"};
    auto value = static_cast<double>(bytes);
    size_t unit = 0;
    while (value >= 999.95 && unit + 1 < kUnits.size()) {
        value /= 1000;
        ++unit;
    }
    return fmt::format("{:.{}f} {}", value, unit == 0 ? 0 : 1, kUnits[unit]);
}

std::string duration_text(double seconds) {
    constexpr double kLongest = 1e15;  // that of a nonsensical file may be more than a number holds
    const auto whole = std::llround(std::clamp(seconds, 0.0, kLongest));
    const long long minutes = whole / 60, hours = minutes / 60, days = hours / 24;
    const auto text = [](long long large, const char* unit, long long small, const char* rest) {
        const std::string shown = fmt::format("{} {}", large, unit);
        return small == 0 ? shown : fmt::format("{} {} {}", shown, small, rest);
    };
    if (days > 0) return text(days, "d", hours % 24, "h");
    if (hours > 0) return text(hours, "h", minutes % 60, "min");
    if (minutes > 0) return text(minutes, "min", whole % 60, "s");
    return fmt::format("{} s", whole);
}

std::string moment_text(time_t moment) {
    return fmt::format("{:%Y-%m-%d %H:%M:%S}", fmt::localtime(moment));
}

std::string count_text(size_t count, std::string_view noun) {
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

}  // namespace cli
