#pragma once

#include <string>

namespace cli {

/// How the user reaches a file of that path, who may not see what this program sees: on a host it
/// works in a private root.
std::string outer_path(const std::string& path);

}  // namespace cli
