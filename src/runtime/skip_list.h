#pragma once

#include <array>
#include <optional>
#include <string>

#include "ssd_op.h"

namespace ssd_op::runtime {

using SkipTable = std::array<int, SSD_OP_MAX_SKIPPED>;

/// Reads integers separated by commas into the table and returns how many fields there were. An
/// empty or non-numeric field counts and leaves its entry as it was; one at the very start does not
/// count. Fields beyond the table are left out, of the count too.
int ssd_op_test_parse_int_list(const char* text, SkipTable& table);

/// The first `count` entries, separated by commas.
std::string list_text(const SkipTable& table, int count);

/// SSD_OP_Test_Add_Skip_OP.
bool add_skipped(int record_no, int ratio) noexcept;
/// SSD_OP_Test_Is_Skip_OP; nothing when the add-on is not installed.
std::optional<bool> is_skipped(int record_no, int ratio);

}  // namespace ssd_op::runtime
