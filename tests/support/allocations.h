/// Allocations of the library that fail.
#pragma once

#include <atomic>

namespace support {

/// Counts the library's allocations, in the process that it is set for and in those that it forks:
/// what libssd_op takes from malloc, calloc, realloc and operator new itself, and what SQLite, the
/// C and C++ libraries and others take on its behalf. What the appliance's stand-ins take is not
/// counted. Lies in memory that forked processes share.
struct AllocationCount {
    std::atomic<int> made;
    int failing;  ///< the n-th fails, from 1; 0: none
    bool from_then_on;
};

/// Counts from now on; null: no longer.
void count_allocations(AllocationCount* count);

/// False in a build whose allocations belong to a sanitizer.
bool allocations_can_be_counted();

}  // namespace support
