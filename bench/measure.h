/// One piece of work in a process of its own: how long it takes, how much memory it needs.
#pragma once

#include <string>
#include <vector>

namespace bench {

struct Figure {
    double seconds;
    double mib;  ///< resident memory at its peak
};

using Command = std::vector<std::string>;

/// Runs a command, with its input from `input` (empty: none) and its output into `output`.
/// @throws std::runtime_error when it fails
Figure run(const Command& command, const std::string& input = {},
           const std::string& output = "/dev/null");

/// The middle of each of the two, by itself.
Figure median(const std::vector<Figure>& figures);

}  // namespace bench
