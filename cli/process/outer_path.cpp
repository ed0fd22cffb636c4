#include "process/outer_path.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>

namespace cli {

std::string outer_path(const std::string& path) {
    const char* const root = std::getenv("SSD_OP_ROOT");
    if (root == nullptr) return path;
    // What host/lib/run.sh shows as it is outside.
    constexpr std::array kSame{"/root/", "/home/", "/srv/", "/media/"};
    const std::string absolute = std::filesystem::absolute(path).lexically_normal();
    const bool is_same = std::any_of(
        kSame.begin(), kSame.end(), [&](const char* place) { return absolute.starts_with(place); });
    return is_same ? absolute : root + absolute;
}

}  // namespace cli
