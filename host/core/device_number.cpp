#include "core/device_number.h"

#include <charconv>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include "core/read.h"

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

std::optional<DeviceNumber> device_number_in(const std::string& directory) {
    return parse_device_number(read_attribute(directory + "/dev").value_or(""));
}

std::optional<DeviceNode> device_at(const std::string& path) {
    struct statx found {};
    if (::statx(AT_FDCWD, path.c_str(), AT_STATX_DONT_SYNC, STATX_TYPE, &found) != 0 ||
        !(S_ISBLK(found.stx_mode) || S_ISCHR(found.stx_mode)))
        return std::nullopt;
    return DeviceNode{S_ISBLK(found.stx_mode), {found.stx_rdev_major, found.stx_rdev_minor}};
}

bool is_device(int file, DeviceNumber number) {
    struct stat found {};
    return ::fstat(file, &found) == 0 && S_ISBLK(found.st_mode) &&
           device_number_of(found.st_rdev) == number;
}

std::optional<DeviceNumber> block_device_at(const std::string& path) {
    const auto node = device_at(path);
    return node && node->is_block ? std::optional(node->number) : std::nullopt;
}

}  // namespace host
