#pragma once

#include <string>

namespace support {

/// The whole file; empty when there is none.
std::string read_file(const std::string& path);
/// Makes the directories on the way too. @throws std::runtime_error
void write_file(const std::string& path, const std::string& text);
bool exists(const std::string& path);

}  // namespace support
