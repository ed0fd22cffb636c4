#pragma once

#include <cstdint>

namespace ssd_op::report {

/// Whether a workbook is whole: each of its parts has an end, and its sheet has `cells` cells. The
/// workbook library does not look at what becomes of its temporary files; on a full disk it makes a
/// workbook of what is left of them, and calls that a success.
bool workbook_is_whole(const char* path, uint64_t cells);

}  // namespace ssd_op::report
