#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

namespace ssd_op::base {

/// Copies text into a buffer of `size` bytes, cut to fit and always ended with NUL.
inline void copy_text(char* target, size_t size, std::string_view text) {
    if (size == 0) return;
    const size_t length = text.size() < size ? text.size() : size - 1;
    std::memcpy(target, text.data(), length);
    target[length] = '\0';
}

/// The same for a text field of a record.
template <size_t Size>
void copy_text(char (&target)[Size], std::string_view text) {
    copy_text(target, Size, text);
}

/// The text in a field that a platform call filled, which may have left it without a NUL.
template <size_t Size>
std::string_view field_text(const char (&field)[Size]) {
    return {field, strnlen(field, Size)};
}

}  // namespace ssd_op::base
