/// Who this host is.

#include <algorithm>
#include <climits>
#include <string>

#include <sys/utsname.h>

#include "core/failure.h"
#include "machine/machine.h"
#include "platform/hal.h"
#include "provider/call.h"
#include "provider/text.h"

namespace {

using provider::arguments;
using provider::call;

constexpr int kFailure = -1;

template <typename Tell>
int text(const char* name, char* buffer, int size, Tell&& tell) {
    return call(name, arguments(size), [&] {
        const std::string told = tell();
        return told.empty() ? kFailure : provider::hand_out(told, buffer, size);
    });
}

utsname kernel() {
    utsname told{};
    if (::uname(&told) != 0) throw host::Failure("The kernel does not tell its name.", "");
    return told;
}

int in_kib(uint64_t kib) { return static_cast<int>(std::min<uint64_t>(kib, INT_MAX)); }

}  // namespace

int Get_Display_Model_Name(char* buffer, int size) {
    return text(__func__, buffer, size, [] { return host::model_of_machine({}); });
}

// The three together are shown as RELEASE.MACHINE (DISTRIBUTION).

int Get_System_Version(char* buffer, int size) {
    return text(__func__, buffer, size, [] { return std::string(kernel().release); });
}

int Get_System_Number(char* buffer, int size) {
    return text(__func__, buffer, size, [] { return std::string(kernel().machine); });
}

int Get_Build_Number(char* buffer, int size) {
    return text(__func__, buffer, size, [] {
        const std::string told = host::distribution();
        return told.empty() ? std::string("--") : told;
    });
}

int HAL_MB_Get_CPU_Info(char* buffer, int size) {
    return text(__func__, buffer, size, [] { return host::processor_of_machine({}); });
}

int SE_Get_Serial_No(int enclosure, char* buffer, int size) {
    return text(__func__, buffer, size,
                [&] { return enclosure == 0 ? host::serial_of_machine({}) : std::string(); });
}

int Get_System_Resource(SYSTEM_RESOURCE* info, int kind) {
    return call(__func__, arguments(kind), [&] {
        if (info == nullptr || kind != SYSTEM_RESOURCE_MEMORY) return kFailure;
        const auto memory = host::memory_of_machine({});
        if (!memory) return kFailure;
        info->total_memory_kb = in_kib(memory->total_kib);
        info->free_memory_kb = in_kib(memory->free_kib);
        return 0;
    });
}

// The kernel does not tell which modules there are.

int HAL_MB_Mem_Is_Info_Available(void) {
    return call(__func__, arguments(), [] { return 0; });
}

int HAL_MB_Mem_Get_Slots(void) {
    return call(__func__, arguments(), [] { return 0; });
}

int HAL_MB_Mem_Get_Info(int slot, HAL_MEM_INFO*) {
    return call(__func__, arguments(slot), [] { return kFailure; });
}
