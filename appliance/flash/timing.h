#pragma once

#include <cstdint>

namespace appliance::flash {

/// The unit in which the flash is mapped; a host's write of less costs one.
inline constexpr std::uint64_t kUnitBytes = 4096;

/// What a host asks of one drive in some time. Amounts are averages over many commands, so they may
/// be fractions.
struct Load {
    double write_units = 0.0;  ///< of kUnitBytes each
    double write_bytes = 0.0;
    double read_bytes = 0.0;
    double commands = 0.0;          ///< reads and writes on the interface
    double flash_pages_read = 0.0;  ///< for the host's reads
    double reads_under_way = 1e9;   ///< at a time; many when the drive can read ahead
};

/// How long the flash and the interface of a SATA SSD take. The defaults are typical figures of a
/// drive with three bits a cell; docs/drive-model.md says where each comes from.
struct Timing {
    int channels = 4;
    int dies = 8;
    int planes = 2;                   ///< programmed together
    double flash_page_bytes = 16384;  ///< of one plane
    double program_seconds = 900e-6;  ///< one page on every plane
    double read_seconds = 70e-6;      ///< one page from the cells
    double erase_seconds = 5e-3;      ///< one block on every plane
    double erase_block_pages = 1152;  ///< of one plane
    double channel_bytes_second = 400e6;
    double interface_bytes_second = 550e6;
    double interface_commands_second = 95e3;
    double read_overhead_seconds = 25e-6;  ///< of a command: interface, firmware
    double write_latency_seconds = 40e-6;  ///< into the drive's buffer

    /// Dies and channels of a drive of this size; the rest stays typical.
    static Timing for_capacity(std::uint64_t bytes);

    /// Flash pages that a host's reads open: one by one, or a page of every plane at once.
    double pages_of_random_read(double block_bytes) const;
    double pages_of_sequential_read(double bytes) const;

    /// Time for which the load keeps the flash busy: dies or channels, whichever takes longer.
    /// @param write_amplification  at the time of the writes
    double flash_seconds(const Load& load, double write_amplification) const;
    /// Time for which it keeps the interface busy.
    double interface_seconds(const Load& load) const;
};

/// A drive warms up under load and cools down at rest: one time constant, in degrees Celsius.
struct Thermal {
    double idle = 32.0;
    double loaded = 58.0;  ///< busy without a pause
    double time_constant_seconds = 180.0;
    double limit = 70.0;  ///< above it the drive slows down, until it is 5 degrees cooler

    /// The temperature after `seconds` under `load` (0 at rest, 1 busy throughout).
    double after(double temperature, double seconds, double load) const;
    bool throttles(double temperature, bool throttled_before) const;
};

}  // namespace appliance::flash
