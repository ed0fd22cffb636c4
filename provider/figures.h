#pragma once

#include <string>

namespace provider {

/// Keeps the figure of a drive, or the word for its state, in the file of its enclosure, and by its
/// WWN where it has one. 0 on success.
/// @param key  read_speed, write_speed, read_iops or write_iops
int keep_figure(unsigned dev_id, const std::string& wwn, const char* key, const std::string& value);

}  // namespace provider
