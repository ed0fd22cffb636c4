/// The OP ratios that a test skipped, kept as text in the add-on's file: "30,40,55".
#include "runtime/skip_list.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>

#include "base/boundary.h"
#include "base/file_lock.h"
#include "runtime/state_section.h"

namespace ssd_op::runtime {

namespace {

constexpr const char* kAdd = "SSD_OP_Test_Add_Skip_OP";
constexpr const char* kKey = "skip_op_list";
constexpr int kTextSize = 256;
constexpr int kNothing = std::numeric_limits<int>::min();
constexpr size_t kValueLength = 7;  // holds any percentage; a longer value is damage, and is cut

/// Reads the number at the start of `text`; leaves `value` alone when there is none.
bool parse_number(const char* text, int& value) {
    char* end = nullptr;
    const long number = std::strtol(text, &end, 10);
    if (end == text) return false;
    value = static_cast<int>(number);
    return true;
}

/// The ratios of the list in `section`, whose file is locked by the caller, and how many there are.
/// An absent list is an empty one; a field without a number is no ratio, 0 least of all.
int read_list(const StateSection& section, SkipTable& table) {
    char text[kTextSize] = {};
    if (Ini_Conf_Get_Field(section.file, section.name, kKey, text, kTextSize) < 0) return 0;
    table.fill(kNothing);
    const auto end = table.begin() + ssd_op_test_parse_int_list(text, table);
    return static_cast<int>(std::remove(table.begin(), end, kNothing) - table.begin());
}

bool holds(const SkipTable& table, int count, int op) {
    const auto end = table.begin() + count;
    return std::find(table.begin(), end, op) != end;
}

bool add(const StateSection& section, int record_no, int op) {
    const auto lock = base::FileLock::for_writing(section.file);
    SkipTable table{};
    int count = read_list(section, table);
    if (holds(table, count, op)) return true;
    if (count == SSD_OP_MAX_SKIPPED) {
        SM_TRACE(SM_TRACE_ERROR,
                 "%s: [Record(%d)] %d ratios are skipped already, %d is left out.\n", kAdd,
                 record_no, count, op);
        return false;
    }
    table[static_cast<size_t>(count++)] = op;
    const std::string text = list_text(table, count);
    SM_TRACE(SM_TRACE_ERROR, "%s: [Record(%d)] value: %s.\n", kAdd, record_no, text.c_str());
    return Ini_Conf_Set_Field(section.file, section.name, kKey, text.c_str()) >= 0;
}

}  // namespace

int ssd_op_test_parse_int_list(const char* text, SkipTable& table) {
    if (text == nullptr) return 0;
    size_t next = parse_number(text, table[0]) ? 1 : 0;
    for (const char* comma = std::strchr(text, ','); comma != nullptr && next < table.size();
         comma = std::strchr(comma + 1, ',')) {
        parse_number(comma + 1, table[next++]);
    }
    return static_cast<int>(next);
}

std::string list_text(const SkipTable& table, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        if (i > 0) text += ',';
        text.append(std::to_string(table[static_cast<size_t>(i)]), 0, kValueLength);
    }
    return text;
}

bool add_skipped(int record_no, int ratio) noexcept {
    return base::guarded(kAdd, false, [&] {
        const auto section = addon_section(record_no);
        return section && add(*section, record_no, ratio);
    });
}

std::optional<bool> is_skipped(int record_no, int ratio) {
    const auto section = addon_section(record_no);
    if (!section) return std::nullopt;
    const auto lock = base::FileLock::for_reading(section->file);
    SkipTable table{};
    const int count = read_list(*section, table);
    return holds(table, count, ratio);
}

}  // namespace ssd_op::runtime
