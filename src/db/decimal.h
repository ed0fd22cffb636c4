#pragma once

#include <array>
#include <charconv>
#include <cstdlib>
#include <string>

#include <locale.h>

namespace ssd_op::db {

/// A result as the database holds it: six decimals and a point, whatever the process's locale.
inline std::string decimal_text(long double value) {
    std::array<char, 8192> text;  // holds the largest number there is
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 6);
    return {text.data(), end.ptr};
}

/// The number that a text of the database begins with, as strtold reads it in the C locale; 0 for
/// none.
inline long double decimal_value(const char* text) {
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtold_l(text, nullptr, plain);
}

}  // namespace ssd_op::db
