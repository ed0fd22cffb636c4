#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace host {

// Reading and writing all of something, whatever interrupts it. False, with errno, when that does
// not go; some of it may be done then.

bool write_whole(int file, std::string_view data);
bool write_whole_at(int file, std::string_view data, uint64_t place);
/// False also, with EIO, where the file ends before.
bool read_whole_at(int file, char* data, size_t length, uint64_t place);

}  // namespace host
