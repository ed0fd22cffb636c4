/// What fuzz targets share. A target is one function, LLVMFuzzerTestOneInput, that lets the library
/// read one input and says what must hold. A fuzzer calls it with inputs that it makes up, and
/// fuzz_corpus_test, under another name, with those that are kept.
#pragma once

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fuzz {

inline std::string_view text_of(const uint8_t* data, size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// Takes the first line off an input of several parts. What follows a NUL in it is dropped.
inline std::string take_line(std::string_view& rest) {
    const size_t end = rest.find('\n');
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return std::string(line.substr(0, line.find('\0')));
}

/// In how many pieces a file of samples is read at most: lines, and longer ones in parts.
inline int most_lines(std::string_view text) {
    constexpr size_t kLongestPiece = 127;
    return static_cast<int>(std::count(text.begin(), text.end(), '\n') + 1 +
                            static_cast<long>(text.size() / kLongestPiece));
}

/// @throws std::logic_error  which ends a fuzzer, and fails a test
inline void require(bool holds, const char* what) {
    if (!holds) throw std::logic_error(what);
}

}  // namespace fuzz
