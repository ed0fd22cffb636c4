#pragma once

#include <string>

namespace provider {

/// Copies a text into a caller's buffer, cut to its size. 0; -1 without a buffer.
inline int hand_out(const std::string& text, char* buffer, int size) {
    if (buffer == nullptr || size < 1) return -1;
    const size_t length = text.copy(buffer, static_cast<size_t>(size) - 1);
    buffer[length] = '\0';
    return 0;
}

}  // namespace provider
