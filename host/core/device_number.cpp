#include "core/device_number.h"

#include <charconv>

#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace host {

namespace {

/// The number that a text is; it may not have anything else in it.
std::optional<unsigned> whole_number(std::string_view text) {
    unsigned value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

}  // namespace

std::string DeviceNumber::text() const { return fmt::format("{}:{}", major, minor); }

std::optional<DeviceNumber> parse_device_number(std::string_view text) {
    const size_t colon = text.find(':');
    if (colon == std::string_view::npos) return std::nullopt;
    const auto upper = whole_number(text.substr(0, colon));
    const auto lower = whole_number(text.substr(colon + 1));
    if (!upper || !lower) return std::nullopt;
    return DeviceNumber{*upper, *lower};
}

DeviceNumber device_number_of(dev_t device) {
    return {gnu_dev_major(device), gnu_dev_minor(device)};
}

std::optional<DeviceNumber> block_device_at(const std::string& path) {
    struct stat found {};
    if (::stat(path.c_str(), &found) != 0 || !S_ISBLK(found.st_mode)) return std::nullopt;
    return device_number_of(found.st_rdev);
}

}  // namespace host
