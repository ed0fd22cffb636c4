/// Numbers as files, commands and the database have them: with a point, whatever the locale of the
/// calling process.
#pragma once

#include <array>
#include <charconv>
#include <cstdlib>
#include <string>

#include <locale.h>

namespace ssd_op::base {

/// With so many decimals.
template <typename Real>
std::string decimal_text(Real value, int decimals = 6) {
    std::array<char, 8192> text;  // holds the largest number there is
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value,
                                   std::chars_format::fixed, decimals);
    return {text.data(), end.ptr};
}

inline locale_t plain_locale() {
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);  // takes no memory
    return plain;
}

/// The number that a text begins with, as strtold reads it in the C locale; 0 for none, and then
/// `end`, if there is one, points at the text.
inline long double decimal_value(const char* text, char** end = nullptr) {
    return strtold_l(text, end, plain_locale());
}

/// The same in double precision.
inline double double_value(const char* text) { return strtod_l(text, nullptr, plain_locale()); }

}  // namespace ssd_op::base
