#include "runtime/time_left.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

namespace ssd_op::runtime {

namespace {

Seconds seconds_in(char unit) {
    switch (unit) {
        case 'd':
            return 86400;
        case 'h':
            return 3600;
        case 'm':
            return 60;
        default:
            return 1;
    }
}

/// The form of a time that has a number for each of these units, as sscanf would read it: a number
/// may have blanks before it, and what follows the last one does not matter. A negative number is
/// none. Sums wrap around as unsigned ones do.
std::optional<Seconds> parse_form(const char* text, std::string_view units) {
    Seconds sum = 0;
    for (;;) {
        const char* start = text + std::strspn(text, " \t\n\v\f\r");
        char* end = nullptr;
        const Seconds number = std::strtoull(start, &end, 10);
        if (*start == '-' || end == start) return std::nullopt;
        sum += number * seconds_in(units.front());
        if (units.size() == 1) return sum;
        if (end[0] != units.front() || end[1] != ':') return std::nullopt;
        text = end + 2;
        units.remove_prefix(1);
    }
}

}  // namespace

std::optional<Seconds> parse_time_left(const char* text) {
    for (const std::string_view units : {"dhms", "hms", "ms", "s"}) {
        if (const auto seconds = parse_form(text, units)) return seconds;
    }
    return std::nullopt;
}

}  // namespace ssd_op::runtime
