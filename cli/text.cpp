#include "text.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <fmt/chrono.h>
#include <fmt/format.h>

namespace cli {

namespace {

/// A byte of a character of UTF-8 other than its first.
bool continues(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

}  // namespace

std::string printable(std::string_view text) {
    std::string shown;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F)
            shown += fmt::format("\\x{:02x}", byte);
        else
            shown += c;
    }
    return shown;
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
    const auto whole = static_cast<long long>(std::llround(std::max(seconds, 0.0)));
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
