/// Who the appliance is. Every value is a setting of the instance, so that a test can change it;
/// the defaults describe a small machine with two memory slots.

#include <cstdio>
#include <cstdlib>
#include <string>

#include <fmt/format.h>

#include "core/call.h"
#include "core/state.h"
#include "platform/hal.h"
#include "provider/text.h"

namespace {

using appliance::arguments;
using appliance::setting;

constexpr int kFailure = -1;

int identity(const char* function, const char* key, const char* fallback, char* buffer, int size) {
    return appliance::call(function, arguments(size), [&] {
        return provider::hand_out(setting(key, fallback), buffer, size);
    });
}

int number(const char* key, int fallback) {
    const std::string text = setting(key, std::to_string(fallback));
    return std::atoi(text.c_str());
}

int memory_slots() { return number("memory_slots", 2); }

/// A slot's setting is "SIZE_MB TYPE"; an empty one says that the slot is empty. Slots take turns
/// on two channels.
int read_slot(int slot, HAL_MEM_INFO* info) {
    if (info == nullptr || slot < 1 || slot > memory_slots()) return kFailure;
    const std::string module =
        setting(fmt::format("memory_slot_{}", slot), slot == 1 ? "8192 DDR4" : "");
    *info = {};
    info->slot = slot;
    info->channel = (slot - 1) % 2 + 1;
    static_assert(sizeof(info->type) == 32);
    info->present = std::sscanf(module.c_str(), "%d %31s", &info->size_mb, info->type) == 2 ? 1 : 0;
    return 0;
}

}  // namespace

int Get_Display_Model_Name(char* buffer, int size) {
    return identity(__func__, "display_model_name", "Tavrel Rack 8", buffer, size);
}

int Get_System_Version(char* buffer, int size) {
    return identity(__func__, "system_version", "5.1.0", buffer, size);
}

int Get_System_Number(char* buffer, int size) {
    return identity(__func__, "system_number", "2348", buffer, size);
}

int Get_Build_Number(char* buffer, int size) {
    return identity(__func__, "build_number", "20240110", buffer, size);
}

int HAL_MB_Get_CPU_Info(char* buffer, int size) {
    return identity(__func__, "cpu_info", "Cortex-A72, 4 cores, 2.0 GHz", buffer, size);
}

int SE_Get_Serial_No(int enclosure, char* buffer, int size) {
    return appliance::call(__func__, arguments(enclosure, size), [&] {
        if (enclosure != 0) return kFailure;
        return provider::hand_out(setting("serial_no", "TR8-24-000117"), buffer, size);
    });
}

int Get_System_Resource(SYSTEM_RESOURCE* info, int kind) {
    return appliance::call(__func__, arguments(kind), [&] {
        if (info == nullptr || kind != SYSTEM_RESOURCE_MEMORY) return kFailure;
        info->total_memory_kb = number("total_memory_kb", 8'127'488);
        info->free_memory_kb = number("free_memory_kb", 6'291'456);
        return 0;
    });
}

int HAL_MB_Mem_Is_Info_Available(void) {
    return appliance::call(__func__, arguments(), [] { return memory_slots() > 0 ? 1 : 0; });
}

int HAL_MB_Mem_Get_Slots(void) {
    return appliance::call(__func__, arguments(), [] { return memory_slots(); });
}

int HAL_MB_Mem_Get_Info(int slot, HAL_MEM_INFO* info) {
    return appliance::call(__func__, arguments(slot), [&] { return read_slot(slot, info); });
}
