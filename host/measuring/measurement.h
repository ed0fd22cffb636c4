#pragma once

#include <cstdint>

#include "core/roots.h"
#include "drives/drive.h"

namespace host {

/// A measurement of one drive, as the platform's calls ask for it.
struct Measurement {
    bool sequential = false;  ///< throughput, else operations
    bool read = false;
    int part_no = 0;  ///< where to write; 0: the whole drive
};

/// Measures for 15 seconds. The figure is in operations a second, in KiB a second of reads, or in
/// bytes a second of writes. Reads are of the first GiB; what holds nothing there is written first,
/// unless the drive is in an array.
uint64_t measure(const Roots& roots, const Drive& drive, const Measurement& measurement);

}  // namespace host
