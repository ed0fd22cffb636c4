#pragma once

#include <cstdint>

namespace fuzz {

/// Lets the library do one thing with a damaged database, in which record 1 may be left: 0 read all
/// that it holds, 1 compute progress, 2 write both reports, 3 change it, and delete it at last,
/// 4 bring it down to older versions and up again. Each call has one of its documented results.
void use_database(uint8_t use);

}  // namespace fuzz
