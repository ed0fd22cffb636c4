#include "refusal/tables.h"

#include <algorithm>

#include "core/failure.h"
#include "core/read.h"
#include "core/text.h"

namespace host {

namespace {

constexpr size_t kMostBytes = 16 << 20;  // some hosts have ten thousands of mounts

std::string table(const std::string& path) {
    auto text = read_file(path, kMostBytes);
    if (!text) throw Failure("The table " + path + " cannot be read.", "Is proc mounted there?");
    return std::move(*text);
}

[[noreturn]] void fail_at(const std::string& path, std::string_view line) {
    throw Failure("A line of " + path + " is not understood: " + printable(line),
                  "This kernel is not known here: use none of its drives.");
}

/// 36 35 98:0 /root /mount\040point rw,noatime master:1 - ext4 /dev/sda1 rw
Mount parse_mount(std::string_view line, const std::string& path) {
    constexpr size_t kNumber = 2, kPoint = 4, kOptions = 6;
    const auto fields = split(line, ' ');
    if (fields.size() <= kOptions) fail_at(path, line);
    const auto number = parse_device_number(fields[kNumber]);
    const auto dash = std::find(fields.begin() + kOptions, fields.end(), "-");
    if (!number || fields.end() - dash < 3) fail_at(path, line);

    Mount mount{{*number}, unescaped(fields[kPoint]), std::string(dash[1])};
    if (mount.type == "autofs" && fields.end() - dash > 3) {
        const auto options = split(dash[3], ',');
        mount.is_indirect = std::find(options.begin(), options.end(), "indirect") != options.end();
    }
    const std::string source = unescaped(dash[2]);
    const auto device = source.starts_with('/') ? block_device_at(source) : std::nullopt;
    if (device && device != number) mount.devices.push_back(*device);
    return mount;
}

/// /dev/sda2   partition   8388604   0   -2
SwapArea parse_swap(std::string_view line, const std::string& path) {
    const size_t end = line.find_first_of(" \t");
    if (end == std::string_view::npos) fail_at(path, line);
    SwapArea area{{}, unescaped(line.substr(0, end))};
    if (trimmed(line.substr(end)).starts_with("file")) return area;
    area.device = block_device_at(area.path);
    if (!area.device) {
        throw Failure("The swap area " + printable(area.path) + " has no device number.",
                      "Find out with swapon --show where it lies, or turn it off with swapoff.");
    }
    return area;
}

}  // namespace

std::vector<Mount> mounts(const Roots& roots) {
    std::vector<Mount> found;
    for (const char* process : {"/self", "/1"}) {
        const std::string path = roots.proc + process + "/mountinfo";
        const std::string text = table(path);
        for (const std::string_view line : split(text, '\n')) {
            if (!line.empty()) found.push_back(parse_mount(line, path));
        }
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
}

std::vector<SwapArea> swap_areas(const Roots& roots) {
    const std::string path = roots.proc + "/swaps";
    const std::string text = table(path);
    auto lines = split(text, '\n');
    if (!lines.front().starts_with("Filename")) fail_at(path, lines.front());
    lines.erase(lines.begin());
    std::vector<SwapArea> found;
    for (const std::string_view line : lines) {
        if (!line.empty()) found.push_back(parse_swap(line, path));
    }
    return found;
}

}  // namespace host
