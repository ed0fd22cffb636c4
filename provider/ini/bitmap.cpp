/// Bitmaps kept as a text of hexadecimal digits.

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>

#include "platform/ini.h"
#include "provider/call.h"
#include "provider/ini/file.h"

namespace {

using provider::arguments;
using provider::ini::IniFile;

constexpr int kFailure = -1;
constexpr int kMaxBits = 4096;
constexpr int kBitsPerDigit = 4;
constexpr const char* kDigits = "0123456789abcdef";

/// What is not a digit counts as four taken bits: an id given out twice costs more than four lost.
int value_of(char digit) {
    const std::string_view digits = kDigits;
    const size_t value =
        digits.find(static_cast<char>(std::tolower(static_cast<unsigned char>(digit))));
    return value == std::string_view::npos ? 15 : static_cast<int>(value);
}

bool is_free(const std::string& bitmap, int bit) {
    const auto digit = static_cast<size_t>(bit / kBitsPerDigit);
    if (digit >= bitmap.size()) return true;
    return (value_of(bitmap[digit]) >> bit % kBitsPerDigit & 1) == 0;
}

void set_bit(std::string& bitmap, int bit) {
    const auto digit = static_cast<size_t>(bit / kBitsPerDigit);
    if (digit >= bitmap.size()) bitmap.resize(digit + 1, '0');
    bitmap[digit] = kDigits[value_of(bitmap[digit]) | 1 << bit % kBitsPerDigit];
}

}  // namespace

bool provider::ini::is_bit_set(const char* path, const char* section, const char* key, int bit) {
    return !is_free(IniFile(path).get(section, key).value_or(""), bit);
}

int Ini_Conf_Bitmap_Get_Next_Free_Bit(const char* file, const char* section, const char* key,
                                      int* bit, int start, int flags) {
    return provider::call(__func__, arguments(file, section, key, start, flags), [&] {
        if (file == nullptr || section == nullptr || key == nullptr || bit == nullptr)
            return kFailure;
        const std::string bitmap = IniFile(file).get(section, key).value_or("");
        int candidate = std::max(start, 0);
        while (candidate < kMaxBits && !is_free(bitmap, candidate)) ++candidate;
        if (candidate >= kMaxBits) return kFailure;
        *bit = candidate;
        return 0;
    });
}

int Ini_Conf_Bitmap_Set_Bit(const char* file, const char* section, const char* key, int bit) {
    return provider::call(__func__, arguments(file, section, key, bit), [&] {
        if (file == nullptr || section == nullptr || key == nullptr || bit < 0 || bit >= kMaxBits)
            return kFailure;
        IniFile ini(file);
        std::string bitmap = ini.get(section, key).value_or("");
        set_bit(bitmap, bit);
        return ini.set(section, key, bitmap) && ini.save() ? 0 : kFailure;
    });
}
