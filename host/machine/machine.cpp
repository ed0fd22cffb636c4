#include "machine/machine.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <set>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "core/read.h"
#include "core/text.h"

namespace host {

namespace {

constexpr size_t kMostBytes = 4 << 20;

/// The value behind "KEY<blanks>SEPARATOR" at a line's beginning; none for another key.
std::optional<std::string_view> value_of(std::string_view line, std::string_view key,
                                         char separator) {
    if (!line.starts_with(key)) return std::nullopt;
    const std::string_view rest = trimmed(line.substr(key.size()));
    if (!rest.starts_with(separator)) return std::nullopt;
    return trimmed(rest.substr(1));
}

/// The first line's that has the key.
std::string value_in(const std::string& text, std::string_view key, char separator) {
    for (const std::string_view line : split(text, '\n'))
        if (const auto value = value_of(line, key, separator)) return std::string(*value);
    return {};
}

/// What makers leave in the place of a name.
bool is_name(const std::string& text) {
    constexpr std::array kNone{"To be filled by O.E.M.",
                               "Default string",
                               "System Product Name",
                               "System Serial Number",
                               "Not Specified",
                               "None",
                               "Not Applicable",
                               "0",
                               "0123456789"};
    return !text.empty() && std::find(kNone.begin(), kNone.end(), text) == kNone.end();
}

std::string first_name(const Roots& roots, std::initializer_list<const char*> attributes) {
    for (const char* attribute : attributes) {
        const auto text = read_attribute(roots.sys + attribute);
        if (text && is_name(*text)) return printable(*text);
    }
    return {};
}

double leading_number(const std::string& text) {
    double number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

size_t cores(const std::string& cpuinfo) {
    std::set<std::string> seen;
    size_t threads = 0;
    std::string package;
    for (const std::string_view line : split(cpuinfo, '\n')) {
        if (value_of(line, "processor", ':')) ++threads;
        if (const auto id = value_of(line, "physical id", ':')) package = *id;
        if (const auto id = value_of(line, "core id", ':'))
            seen.insert(package + "/" + std::string(*id));
    }
    return seen.empty() ? threads : seen.size();
}

/// In GHz; 0 when it is not told.
double clock_rate(const Roots& roots, const std::string& cpuinfo) {
    const auto kilohertz =
        read_number(roots.sys + "/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq");
    return kilohertz ? static_cast<double>(*kilohertz) / 1e6
                     : leading_number(value_in(cpuinfo, "cpu MHz", ':')) / 1e3;
}

}  // namespace

std::string model_of_machine(const Roots& roots) {
    return first_name(roots, {"/class/dmi/id/product_name", "/class/dmi/id/board_name",
                              "/firmware/devicetree/base/model"});
}

std::string serial_of_machine(const Roots& roots) {
    return first_name(roots, {"/class/dmi/id/product_serial", "/class/dmi/id/board_serial",
                              "/firmware/devicetree/base/serial-number"});
}

std::string processor_of_machine(const Roots& roots) {
    const auto cpuinfo = read_file(roots.proc + "/cpuinfo", kMostBytes);
    if (!cpuinfo) return {};
    const std::string name = value_in(*cpuinfo, "model name", ':');
    const size_t count = cores(*cpuinfo);
    std::string text = fmt::format("{}, {} core{}", name.empty() ? "Processor" : printable(name),
                                   count, count == 1 ? "" : "s");
    const double rate = clock_rate(roots, *cpuinfo);
    return rate > 0 ? text + fmt::format(", {:.1f} GHz", rate) : text;
}

std::string distribution(const std::string& os_release) {
    const auto text = read_file(os_release, kAttributeLimit);
    if (!text) return {};
    const auto plain = [&](const char* key) {
        std::string value = value_in(*text, key, '=');
        std::erase(value, '"');
        return printable(value);
    };
    return std::string(trimmed(plain("ID") + " " + plain("VERSION_ID")));
}

std::optional<Memory> memory_of_machine(const Roots& roots) {
    const auto text = read_file(roots.proc + "/meminfo", kMostBytes);
    const auto kib = [&](const char* key) {
        return static_cast<uint64_t>(leading_number(value_in(*text, key, ':')));
    };
    if (!text || kib("MemTotal") == 0) return std::nullopt;
    return Memory{kib("MemTotal"), kib("MemAvailable")};
}

}  // namespace host
