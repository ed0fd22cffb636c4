#include "flash/timing.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace appliance::flash {

namespace {

constexpr std::uint64_t kBytesPerDie = 16'000'000'000;
constexpr double kThrottleHysteresis = 5.0;

}  // namespace

Timing Timing::for_capacity(std::uint64_t bytes) {
    Timing timing;
    const auto dies = static_cast<unsigned>(std::clamp<std::uint64_t>(bytes / kBytesPerDie, 4, 64));
    timing.dies = static_cast<int>(std::bit_floor(dies));
    timing.channels = std::clamp(timing.dies / 2, 2, 8);
    return timing;
}

double Timing::pages_of_random_read(double block_bytes) const {
    return std::ceil(block_bytes / flash_page_bytes);
}

double Timing::pages_of_sequential_read(double bytes) const {
    return bytes / (flash_page_bytes * planes);
}

double Timing::flash_seconds(const Load& load, double write_amplification) const {
    const double units_per_page = flash_page_bytes / kUnitBytes;
    const double programmed = load.write_units * write_amplification;
    const double copied = programmed - load.write_units;

    // A program fills a page on every plane; an erase makes room for a block on every plane.
    const double program = program_seconds / (units_per_page * planes);
    const double erase = erase_seconds / (erase_block_pages * units_per_page * planes);
    // A copy opens every page of its victim that has a valid unit, and finds the others beside it.
    const double valid = 1.0 - 1.0 / write_amplification;
    const double copy_reads =
        valid > 0.0 ? (1.0 - std::pow(1.0 - valid, units_per_page)) / (valid * units_per_page)
                    : 0.0;
    // Reads meet on some dies while others are idle: what n commands use of d dies on average.
    const double dies_in_use =
        dies * (1.0 - std::pow(1.0 - 1.0 / dies, std::max(load.reads_under_way, 1.0)));

    const double write_time =
        (programmed * (program + erase) + copied * copy_reads * read_seconds) / dies;
    const double read_time = load.flash_pages_read * read_seconds / dies_in_use;

    const double moved_bytes = (programmed + copied) * kUnitBytes + load.read_bytes;
    const double channel_time = moved_bytes / (channels * channel_bytes_second);
    return std::max(write_time + read_time, channel_time);
}

double Timing::interface_seconds(const Load& load) const {
    const double bytes = load.write_bytes + load.read_bytes;
    return std::max(bytes / interface_bytes_second, load.commands / interface_commands_second);
}

double Thermal::after(double temperature, double seconds, double load) const {
    const double target = idle + (loaded - idle) * std::clamp(load, 0.0, 1.0);
    return target + (temperature - target) * std::exp(-seconds / time_constant_seconds);
}

bool Thermal::throttles(double temperature, bool throttled_before) const {
    return temperature > (throttled_before ? limit - kThrottleHysteresis : limit);
}

}  // namespace appliance::flash
