#pragma once

#include <string>
#include <string_view>

namespace ssd_op::report {

/// Text for a cell that shows it as it is. What a workbook cannot hold becomes U+FFFD: bytes that
/// are not UTF-8 and the characters that XML knows no way to write. Text that reads like a
/// workbook's own notation for a character ("_x0041_") is kept from being taken for it. Control
/// characters stay; the workbook library writes them in that notation.
std::string cell_text(std::string_view text);

/// Name of a column, counted from 1: 1 is A, 27 AA, 703 AAA, 475254 ZZZZ.
std::string column_name(unsigned column);

}  // namespace ssd_op::report
