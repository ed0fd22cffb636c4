#include "evaluation/drives/fio_summary.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace ssd_op::evaluation {

namespace {

/// The text after the first "=" behind `name`, up to a blank, a comma or the line's end.
std::optional<std::string> value_of(std::string_view line, std::string_view name) {
    const size_t at = line.find(name);
    if (at == std::string_view::npos) return std::nullopt;
    const size_t equals = line.find('=', at + name.size());
    if (equals == std::string_view::npos) return std::nullopt;
    const std::string_view rest = line.substr(equals + 1);
    return std::string(rest.substr(0, rest.find_first_of(" ,\t\r\n")));
}

struct Unit {
    std::string_view name;
    unsigned shift;
};
constexpr Unit kUnits[] = {{"GB", 30}, {"MB", 20}, {"KB", 10}};

unsigned shift_of(std::string_view rate) {
    for (const Unit& unit : kUnits) {
        if (rate.find(unit.name) != std::string_view::npos) return unit.shift;
    }
    return 0;
}

}  // namespace

bool is_write_summary(std::string_view line) {
    return line.find("write: io=") != std::string_view::npos;
}

std::optional<std::string> write_rate(std::string_view line) {
    const auto rate = value_of(line, "bw");
    if (!rate) return std::nullopt;
    char* end = nullptr;
    const long number = std::strtol(rate->c_str(), &end, 10);
    if (end == rate->c_str()) return std::nullopt;
    const auto whole = static_cast<uint64_t>(std::clamp<long>(number, 0, INT32_MAX));
    return std::to_string(whole << shift_of(*rate));
}

std::optional<std::string> write_iops(std::string_view line) {
    auto iops = value_of(line, "iops");
    if (!iops || iops->empty() || iops->front() < '0' || iops->front() > '9') return std::nullopt;
    return iops;
}

}  // namespace ssd_op::evaluation
