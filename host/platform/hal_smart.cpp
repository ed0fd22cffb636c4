/// What drives report of their health.

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "core/failure.h"
#include "drives/health.h"
#include "enrolment/given.h"
#include "platform/hal.h"
#include "provider/call.h"

namespace {

using namespace host;
using provider::arguments;
using provider::call;

constexpr int kFailure = -1;

/// 0 for what the drive does not tell.
int fill(PD_SMART_INFO& info, int enclosure, int port) {
    const auto drive = given_drive(Roots{}, slot_id(enclosure, port));
    if (!drive) return kFailure;
    const Health health = read_health(Roots{}, *drive);
    if (!health.problem.empty()) throw Failure(health.problem, "");
    constexpr auto kMost = static_cast<uint64_t>(std::numeric_limits<int>::max());
    info.temperature = std::clamp(health.celsius.value_or(0), -128, 127);
    info.power_on_hours = static_cast<int>(std::min(health.power_on_hours.value_or(0), kMost));
    info.wear_percent = health.wear_percent.value_or(0);
    info.host_written_kib = health.written_bytes.value_or(0) / 1024;
    info.flash_written_kib = health.flash_written_bytes.value_or(0) / 1024;
    return 0;
}

}  // namespace

int PD_SMART_Read_Info(int enclosure, int port, PD_SMART_INFO** info) {
    return call("PD_SMART_Read_Info", arguments(enclosure, port), [&] {
        if (info == nullptr) return kFailure;
        *info = static_cast<PD_SMART_INFO*>(std::calloc(1, sizeof(PD_SMART_INFO)));
        return *info == nullptr ? kFailure : fill(**info, enclosure, port);
    });
}

int PD_SMART_Get_Temperature(const PD_SMART_INFO* info) {
    return call("PD_SMART_Get_Temperature", arguments(info != nullptr ? info->temperature : -1),
                [&] { return info == nullptr ? kFailure : info->temperature & 0xFF; });
}
