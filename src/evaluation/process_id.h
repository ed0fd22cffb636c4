#pragma once

#include <climits>
#include <cstdlib>
#include <string>

namespace ssd_op::evaluation {

/// The process id at the start of a line of the process list; 0 when there is none.
inline int leading_process_id(const std::string& line) {
    const long id = std::strtol(line.c_str(), nullptr, 10);
    return id > 0 && id <= INT_MAX ? static_cast<int>(id) : 0;
}

}  // namespace ssd_op::evaluation
