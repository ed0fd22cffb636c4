#pragma once

#include <map>
#include <string>

namespace host {

/// Sections, and the keys of each with their values. Names are found without regard to case by the
/// library that wrote them; here they have to be as they are written.
using IniText = std::map<std::string, std::map<std::string, std::string>>;

/// A whole ini file of at most 1 MiB; an empty one where there is none.
/// @throws Failure when it is there and cannot be read
IniText read_ini(const std::string& path);

}  // namespace host
