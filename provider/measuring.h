#pragma once

#include <functional>

namespace provider {

/// Measures drives one after the other, or each in a process that belongs to nobody.
/// @param part_nos  the partition to measure on, for each drive; none: the whole drives
/// @param measure   of one drive; 0 when it went well
/// @return 0 when all went well, or all were begun
int measure_each(const unsigned* dev_ids, int count, const int* part_nos, bool background,
                 const std::function<int(unsigned dev_id, int part_no)>& measure);

}  // namespace provider
