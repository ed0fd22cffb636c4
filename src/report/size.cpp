#include <array>
#include <charconv>
#include <cstring>

#include "report/report.h"

namespace {

struct Unit {
    int bits;  // the unit is 2 to this power
    const char* name;
};
constexpr Unit kUnits[] = {{10, "KB"}, {20, "MB"}, {30, "GB"}, {40, "TB"}, {50, "PB"}, {60, "EB"}};

}  // namespace

namespace ssd_op::report {

// Numbers are written with to_chars, so that a decimal point is one in every locale.
std::string size_text(uint64_t bytes) {
    if (bytes < 1024) return std::to_string(bytes) + " Byte";
    const Unit* unit = kUnits;
    while (unit->bits < 60 && bytes >> (unit->bits + 10) != 0) ++unit;
    const double value =
        static_cast<double>(bytes) / static_cast<double>(uint64_t{1} << unit->bits);
    std::array<char, 32> digits;
    const auto end =
        std::to_chars(digits.begin(), digits.end(), value, std::chars_format::fixed, 2);
    return std::string(digits.data(), end.ptr) + ' ' + unit->name;
}

}  // namespace ssd_op::report

void ssd_op_format_size(uint64_t bytes, char* text) {
    constexpr size_t kSize = 32;
    if (text == nullptr) return;
    std::memset(text, 0, kSize);
    ssd_op::report::size_text(bytes).copy(text, kSize - 1);
}
