#pragma once

#include <fcntl.h>

#include "base/owners.h"

namespace ssd_op::base {

/// Opens a file by a name that others can make. Nothing is opened but a regular file: a pipe would
/// hold the caller, and a link would lead it anywhere. Readers bound what they read.
/// @param flags  of open(2); O_NONBLOCK, O_NOFOLLOW and O_CLOEXEC are added
/// @param mode   of a file that O_CREAT makes
Descriptor open_plain_file(const char* path, int flags = O_RDONLY, mode_t mode = 0);

}  // namespace ssd_op::base
