#pragma once

#include <string>

#include "base/command.h"

namespace ssd_op::evaluation {

/// Deletes every file of a script run: all that begin with its prefix, a path.
inline void delete_script_files(const std::string& prefix) {
    base::run("/bin/rm " + base::shell_word(prefix) + "* &>/dev/null 2>>/dev/null");
}

}  // namespace ssd_op::evaluation
