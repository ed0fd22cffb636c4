#pragma once

#include <array>
#include <charconv>
#include <string>
#include <string_view>

namespace ssd_op::db {

/// A result as the database holds it: six decimals and a point, whatever the process's locale.
inline std::string decimal_text(long double value) {
    std::array<char, 8192> text;  // holds the largest number there is
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 6);
    return {text.data(), end.ptr};
}

/// The number that a text of the database begins with; 0 for none.
inline long double decimal_value(std::string_view text) {
    long double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

}  // namespace ssd_op::db
