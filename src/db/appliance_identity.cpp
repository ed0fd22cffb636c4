#include "db/appliance_identity.h"

#include <cstdio>
#include <string>

#include "base/text.h"
#include "platform/hal.h"
#include "platform/naslog.h"

namespace ssd_op::db {

namespace {

constexpr const char* kUnknown = "--";
constexpr size_t kVersionSize = 32;
constexpr size_t kSlotEntrySize = 64;
constexpr int kMegabytesToGigabytes = 10;  // bits

/// Has a platform call fill a field, which it may leave without a NUL. Whether it did.
template <size_t Size, typename Call>
bool read_text(char (&field)[Size], Call&& call) {
    const bool read = call(field, static_cast<int>(Size)) == 0;
    field[Size - 1] = '\0';
    return read;
}

bool read_firmware_version(ssd_op_db_record& record) {
    char version[kVersionSize] = "";
    char number[kVersionSize] = "";
    char build[kVersionSize] = "";
    if (!read_text(version, Get_System_Version) || !read_text(number, Get_System_Number) ||
        !read_text(build, Get_Build_Number))
        return false;
    std::snprintf(record.nas_fw_version, sizeof record.nas_fw_version, "%s.%s (%s)", version,
                  number, build);
    return true;
}

char channel_letter(int channel) {
    return channel >= 1 && channel <= 26 ? static_cast<char>('A' + channel - 1) : '?';
}

std::string slot_entry(const HAL_MEM_INFO& info) {
    char entry[kSlotEntrySize];
    const char channel = channel_letter(info.channel);
    if (info.present != 0)
        std::snprintf(entry, sizeof entry, "Slot %d (Channel %c. DIMM %d) : %d GB (%s)", info.slot,
                      channel, info.slot, info.size_mb >> kMegabytesToGigabytes,
                      std::string(base::field_text(info.type)).c_str());
    else
        std::snprintf(entry, sizeof entry, "Slot %d (Channel %c. DIMM %d) : --", info.slot, channel,
                      info.slot);
    return entry;
}

std::string memory_totals() {
    SYSTEM_RESOURCE memory{};
    if (Get_System_Resource(&memory, SYSTEM_RESOURCE_MEMORY) != 0)
        return "Total Memory(-- KB),Free Memory(-- KB)";
    return "Total Memory(" + std::to_string(memory.total_memory_kb) + " KB),Free Memory(" +
           std::to_string(memory.free_memory_kb) + " KB)";
}

void read_memory(ssd_op_db_record& record) {
    std::string text = memory_totals();
    if (HAL_MB_Mem_Is_Info_Available() == 0) {
        text += std::string(",") + kUnknown;
    } else {
        const int slots = HAL_MB_Mem_Get_Slots();
        for (int slot = 1; slot <= slots; ++slot) {
            HAL_MEM_INFO info{};
            if (HAL_MB_Mem_Get_Info(slot, &info) != 0) continue;
            const std::string entry = "," + slot_entry(info);
            if (text.size() + entry.size() >= sizeof record.nas_mem_info) break;
            text += entry;
        }
    }
    base::copy_text(record.nas_mem_info, text);
}

}  // namespace

void capture_appliance_identity(const char* function, ssd_op_db_record& record) {
    const auto leave_unknown = [&](auto& field, const char* message) {
        SM_TRACE(SM_TRACE_INFO, "%s: %s.\n", function, message);
        base::copy_text(field, kUnknown);
    };
    const auto get_serial_no = [](char* buffer, int size) {
        return SE_Get_Serial_No(0, buffer, size);
    };
    if (!read_text(record.nas_model, Get_Display_Model_Name))
        leave_unknown(record.nas_model, "Fail to get NAS model name");
    if (!read_firmware_version(record))
        leave_unknown(record.nas_fw_version, "Fail to get NAS FW version");
    if (!read_text(record.nas_cpu_info, HAL_MB_Get_CPU_Info))
        leave_unknown(record.nas_cpu_info, "Fail to get NAS CPU Info");
    if (!read_text(record.nas_serial_no, get_serial_no))
        leave_unknown(record.nas_serial_no, "Fail to get NAS Serial Number");
    read_memory(record);
}

}  // namespace ssd_op::db
