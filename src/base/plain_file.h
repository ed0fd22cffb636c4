#pragma once

#include <cstdint>
#include <string>

#include <fcntl.h>

#include "base/owners.h"

namespace ssd_op::base {

/// Opens a file by a name that others can make. Nothing is opened but a regular file: a pipe would
/// hold the caller, and a link would lead it anywhere. Readers bound what they read.
/// @param flags  of open(2); O_NONBLOCK, O_NOFOLLOW and O_CLOEXEC are added
/// @param mode   of a file that O_CREAT makes
Descriptor open_plain_file(const char* path, int flags = O_RDONLY, mode_t mode = 0);

/// The same as a stream, to read from the start or to append to; the latter makes a missing file.
File read_plain_file(const char* path);
File append_to_plain_file(const char* path);

/// For a file that another program will open: whether nothing is there that it must not open. A
/// missing file is fine. One above `limit` bytes is not.
bool is_plain_or_absent(const std::string& path, int64_t limit);

}  // namespace ssd_op::base
