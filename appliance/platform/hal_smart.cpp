/// What drives report of their health.

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "core/call.h"
#include "core/query.h"
#include "device/drive_file.h"
#include "platform/hal.h"
#include "platform/hal_slot.h"

namespace {

using namespace appliance;

constexpr int kFailure = -1;
constexpr int kHardDiskCelsius = 36;
/// How often the whole drive can be written before its maker calls it worn.
constexpr double kRatedCycles = 1000;

void add_flash(PD_SMART_INFO& info, unsigned dev_id) {
    const flash::Drive drive = DriveFile::look(dev_id);
    const flash::Counters& counters = drive.counters();
    const auto bytes = [&](uint64_t pages) {
        return static_cast<double>(pages) * drive.page_bytes();
    };
    info.temperature = static_cast<int>(std::lround(drive.temperature()));
    info.host_written_kib = static_cast<uint64_t>(bytes(counters.host_pages) / 1024);
    info.flash_written_kib = static_cast<uint64_t>(bytes(counters.programmed_pages()) / 1024);
    const double cycles =
        bytes(counters.programmed_pages()) / static_cast<double>(drive.nominal_bytes());
    info.wear_percent = static_cast<int>(std::min(cycles / kRatedCycles * 100, 255.0));
}

int read(unsigned dev_id, PD_SMART_INFO& info) {
    SQLite::Statement query =
        statement("SELECT flags, power_on_hours, temperature FROM drive WHERE dev_id = ?", dev_id);
    if (!query.executeStep()) return kFailure;
    info.temperature = kHardDiskCelsius;
    info.power_on_hours = query.getColumn(1).getInt();
    if ((query.getColumn(0).getUInt() & PD_FLAG_SSD) != 0) add_flash(info, dev_id);
    // A sensor that somebody has fixed, to see what a temperature leads to.
    if (!query.getColumn(2).isNull()) info.temperature = query.getColumn(2).getInt();
    return 0;
}

}  // namespace

int PD_SMART_Read_Info(int enclosure, int port, PD_SMART_INFO** info) {
    return call("PD_SMART_Read_Info", arguments(enclosure, port), [&] {
        if (info == nullptr) return kFailure;
        *info = static_cast<PD_SMART_INFO*>(std::calloc(1, sizeof(PD_SMART_INFO)));
        return *info == nullptr ? kFailure : read(dev_id_of(enclosure, port), **info);
    });
}

int PD_SMART_Get_Temperature(const PD_SMART_INFO* info) {
    return call("PD_SMART_Get_Temperature", arguments(info != nullptr ? info->temperature : -1),
                [&] { return info == nullptr ? kFailure : info->temperature & 0xFF; });
}
