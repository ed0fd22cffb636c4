/// The figures that are kept of drives: one ini file an enclosure, and one for all drives by their
/// WWN.

#include "provider/figures.h"

#include <cstdlib>

#include <fmt/format.h>

#include "platform/hal.h"
#include "platform/ini.h"
#include "provider/call.h"
#include "shared/drive_id.h"

namespace {

using ssd_op::shared::Slot;

constexpr int kFailure = -1;
constexpr const char* kByWwn = "/etc/config/disk_performance.conf";

int write_key(const std::string& file, const std::string& section, const char* key,
              const std::string& value) {
    const int lock = Ini_Conf_Write_Lock_File(file.c_str());
    if (lock < 0) return kFailure;
    const int result = Ini_Conf_Set_Field(file.c_str(), section.c_str(), key, value.c_str());
    Ini_Conf_Unlock_File(lock);
    return result < 0 ? kFailure : 0;
}

std::string file_of(Slot slot) { return fmt::format("/etc/enclosure_{}.conf", slot.enclosure); }
std::string section_of(Slot slot) { return fmt::format("PhysicalDisk_{}", slot.port); }

/// None while a measurement runs, after a failed one, and before the first.
int read_back(const char* name, const char* key, Slot slot, unsigned long long* value) {
    return provider::call(name, provider::arguments(slot.enclosure, slot.port), [&] {
        char text[128] = "";
        const int length = Ini_Conf_Get_Field(file_of(slot).c_str(), section_of(slot).c_str(), key,
                                              text, sizeof text);
        char* end = nullptr;
        const unsigned long long figure = std::strtoull(text, &end, 10);
        if (value == nullptr || length <= 0 || end == text || *end != '\0') return kFailure;
        *value = figure;
        return 0;
    });
}

}  // namespace

int provider::keep_figure(unsigned dev_id, const std::string& wwn, const char* key,
                          const std::string& value) {
    const Slot slot = ssd_op::shared::slot_of(dev_id);
    int result = write_key(file_of(slot), section_of(slot), key, value);
    if (!wwn.empty()) result |= write_key(kByWwn, wwn, key, value);
    return result;
}

int PD_Get_Read_Speed(int enclosure, int port, unsigned long long* value) {
    return read_back("PD_Get_Read_Speed", "read_speed", {enclosure, port}, value);
}

int PD_Get_Write_Speed(int enclosure, int port, unsigned long long* value) {
    return read_back("PD_Get_Write_Speed", "write_speed", {enclosure, port}, value);
}

int PD_Get_Read_IOPS(int enclosure, int port, unsigned long long* value) {
    return read_back("PD_Get_Read_IOPS", "read_iops", {enclosure, port}, value);
}

int PD_Get_Write_IOPS(int enclosure, int port, unsigned long long* value) {
    return read_back("PD_Get_Write_IOPS", "write_iops", {enclosure, port}, value);
}
