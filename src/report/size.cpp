#include <array>
#include <charconv>
#include <cstring>

#include "report/report.h"

namespace ssd_op::report {

namespace {

constexpr size_t kTextSize = 32;

struct Unit {
    int bits;  // the unit is 2 to this power
    const char* name;
};
constexpr Unit kUnits[] = {{10, " KB"}, {20, " MB"}, {30, " GB"},
                           {40, " TB"}, {50, " PB"}, {60, " EB"}};

void copy_unit(std::string_view name, char* to, const char* end) {
    name.copy(to, static_cast<size_t>(end - to));
}

}  // namespace

// Numbers are written with to_chars, so that a decimal point is one in every locale.
void ssd_op_format_size(uint64_t bytes, char* text) {
    if (text == nullptr) return;
    std::memset(text, 0, kTextSize);
    char* const end = text + kTextSize - 1;
    if (bytes < 1024) {
        copy_unit(" Byte", std::to_chars(text, end, bytes).ptr, end);
        return;
    }
    const Unit* unit = kUnits;
    while (unit->bits < 60 && bytes >> (unit->bits + 10) != 0) ++unit;
    const double value =
        static_cast<double>(bytes) / static_cast<double>(uint64_t{1} << unit->bits);
    copy_unit(unit->name, std::to_chars(text, end, value, std::chars_format::fixed, 2).ptr, end);
}

std::string size_text(uint64_t bytes) {
    std::array<char, kTextSize> text;
    ssd_op_format_size(bytes, text.data());
    return text.data();
}

}  // namespace ssd_op::report
