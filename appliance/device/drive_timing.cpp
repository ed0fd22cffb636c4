#include "device/drive_timing.h"

#include <cstdint>

#include "core/query.h"
#include "flash/random.h"
#include "platform/hal.h"

namespace appliance {

namespace {

/// Of the program time, up or down.
constexpr double kLargestDeviation = 0.015;

void set_interface(flash::Timing& timing, int interface_type) {
    switch (interface_type) {
        case PD_INTERFACE_NVME:
            timing.interface_bytes_second = 3.3e9;
            timing.interface_commands_second = 600e3;
            break;
        case PD_INTERFACE_SAS:
            timing.interface_bytes_second = 1.1e9;
            timing.interface_commands_second = 180e3;
            break;
        default:
            break;  // SATA, which is what a timing begins with
    }
}

}  // namespace

flash::Timing timing_of(unsigned dev_id) {
    SQLite::Statement drive = statement(
        "SELECT block_count * block_size, interface_type, seed FROM drive WHERE dev_id = ?",
        dev_id);
    if (!drive.executeStep()) return {};
    auto timing = flash::Timing::for_capacity(static_cast<uint64_t>(drive.getColumn(0).getInt64()));
    set_interface(timing, drive.getColumn(1).getInt());
    flash::Random piece(static_cast<uint64_t>(drive.getColumn(2).getInt64()));
    timing.program_seconds *= 1 + kLargestDeviation * (piece.below(2001) / 1000.0 - 1);
    return timing;
}

}  // namespace appliance
