#include "drives/health.h"

#include <algorithm>

#include "core/text.h"
#include "core/tool.h"
#include "drives/answer.h"
#include "drives/flash_writes.h"

namespace host {

namespace {

constexpr uint64_t kNvmeUnitBytes = 512000;  // in which NVMe counts data
constexpr int kKelvin = 273;
constexpr int kOpenFailed = 3;  // bits of smartctl's exit status: no answer from a drive

constexpr const char* kChanged = " is another drive by now: list the drives again";

std::optional<int> small(const Json& value, int most) {
    const auto number = count(value);
    if (!number || *number > static_cast<uint64_t>(most)) return std::nullopt;
    return static_cast<int>(*number);
}

/// Of the device statistics, which the standard defines; the numbered attributes of SATA drives
/// mean what their makers want.
const Json& statistic(const Json& answer, const char* name) {
    static const Json nothing;
    for (const Json& page : at(answer, "ata_device_statistics/pages")) {
        for (const Json& entry : at(page, "table")) {
            if (at(entry, "name") == name && at(entry, "flags/valid") == true)
                return at(entry, "value");
        }
    }
    return nothing;
}

Health ask_nvme(const std::string& device) {
    const ToolOutput output = run_tool({"nvme", "smart-log", device, "-o", "json"});
    if (!output.found) return {.problem = "nvme is missing: apt-get install nvme-cli"};
    const Json answer = parse_foreign(output.text);
    if (!output.whole || output.status != 0 || !answer.is_object())
        return {.problem = "nvme smart-log " + device + " fails: run it by hand to see why"};
    Health health = health_from_nvme(answer);
    // Most drives have no such log: then it fails.
    const ToolOutput more = run_tool({"nvme", "ocp", "smart-add-log", device, "-o", "json"});
    if (more.whole && more.status == 0)
        health.flash_written_bytes = flash_writes_from_ocp(parse_foreign(more.text));
    return health;
}

Health ask_smartctl(const std::string& device, const std::string& serial) {
    const ToolOutput output =
        run_tool({"smartctl", "--json=c", "-i", "-A", "-l", "devstat", device});
    if (!output.found) return {.problem = "smartctl is missing: apt-get install smartmontools"};
    const Json answer = parse_foreign(output.text);
    if (!output.whole || output.status < 0 || (output.status & kOpenFailed) != 0 ||
        !answer.is_object())
        return {.problem = "smartctl -A " + device + " fails: run it by hand to see why"};
    const Json& told = at(answer, "serial_number");
    if (told.is_string() && trimmed(told.get_ref<const std::string&>()) != serial)
        return {.problem = device + kChanged};
    return health_from_smartctl(answer);
}

}  // namespace

Health health_from_nvme(const Json& answer) {
    Health health;
    if (const auto kelvin = small(at(answer, "temperature"), 1000); kelvin && *kelvin > 0)
        health.celsius = *kelvin - kKelvin;
    health.wear_percent = small(at(answer, "percent_used"), 255);
    health.written_bytes = times(count(at(answer, "data_units_written")), kNvmeUnitBytes);
    health.power_on_hours = count(at(answer, "power_on_hours"));
    return health;
}

Health health_from_smartctl(const Json& answer) {
    Health health;
    health.celsius = small(at(answer, "temperature/current"), 1000);
    health.power_on_hours = count(at(answer, "power_on_time/hours"));
    if (const Json& nvme = at(answer, "nvme_smart_health_information_log"); nvme.is_object()) {
        health.wear_percent = small(at(nvme, "percentage_used"), 255);
        health.written_bytes = times(count(at(nvme, "data_units_written")), kNvmeUnitBytes);
        return health;
    }
    if (const Json& scsi = at(answer, "scsi_percentage_used_endurance_indicator"); !scsi.is_null())
        health.wear_percent = small(scsi, 255);
    else
        health.wear_percent = small(statistic(answer, "Percentage Used Endurance Indicator"), 255);
    const auto block = count(at(answer, "logical_block_size"));
    if (block && *block > 0)
        health.written_bytes = times(count(statistic(answer, "Logical Sectors Written")), *block);
    health.flash_written_bytes = flash_writes_from_smartctl(answer);
    return health;
}

Health read_health(const Roots& roots, const Drive& drive) {
    const std::string device = drive.device(roots);
    if (drive.place.bus != Bus::kNvme) return ask_smartctl(device, drive.identity.serial);
    Health health = ask_nvme(device);
    // It does not tell whose answer that is: another drive may have the name by now.
    if (!is_same(roots, drive)) return {.problem = device + kChanged};
    if (health.problem.empty()) return health;
    Health other = ask_smartctl(device, drive.identity.serial);
    return other.problem.empty() ? other : health;
}

}  // namespace host
