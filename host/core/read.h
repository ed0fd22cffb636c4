#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace host {

constexpr size_t kAttributeLimit = 4096;  ///< what the kernel gives of an attribute, a page

/// A whole regular file. None when it cannot be read, is anything else or is larger than `limit`:
/// half of a list must not pass for the whole.
std::optional<std::string> read_file(const std::string& path, size_t limit);

/// An attribute of sysfs, without the blanks at its ends. None also for an empty one.
std::optional<std::string> read_attribute(const std::string& path);
std::optional<uint64_t> read_number(const std::string& path);

/// The names in a directory, in order, without . and ..; none when it cannot be read to its end or
/// has more than `limit`.
std::optional<std::vector<std::string>> names_in(const std::string& directory,
                                                 size_t limit = 65536);

/// Where a path leads with every link followed; none when it leads nowhere.
std::optional<std::string> real_path(const std::string& path);

}  // namespace host
