/// Which drives there are, and what they say of themselves.

#include <algorithm>
#include <string>
#include <vector>

#include "core/call.h"
#include "core/query.h"
#include "platform/hal.h"
#include "platform/hal_slot.h"
#include "provider/text.h"

namespace {

using namespace appliance;

constexpr int kFailure = -1;

/// One text of a drive, for the call of that name. An empty one counts as not there.
int text_of(const char* name, const char* sql, int enclosure, int port, char* buffer, int size) {
    return call(name, arguments(enclosure, port, size), [&] {
        const auto text = first<std::string>(sql, dev_id_of(enclosure, port));
        const int result = provider::hand_out(text.value_or(""), buffer, size);
        return text && !text->empty() ? result : kFailure;
    });
}

int fill(PD_INFO& info, unsigned dev_id) {
    SQLite::Statement drive = statement(
        "SELECT vendor, model, serial_no, revision, block_size, block_count, form_factor,"
        " interface_type, rotation_speed, flags FROM drive WHERE dev_id = ?",
        dev_id);
    if (!drive.executeStep()) return kFailure;
    info = PD_INFO{};
    provider::hand_out(drive.getColumn(0).getString(), info.vendor, sizeof info.vendor);
    provider::hand_out(drive.getColumn(1).getString(), info.model, sizeof info.model);
    provider::hand_out(drive.getColumn(2).getString(), info.serial_no, sizeof info.serial_no);
    provider::hand_out(drive.getColumn(3).getString(), info.revision, sizeof info.revision);
    info.block_size = drive.getColumn(4).getUInt();
    info.block_count = static_cast<uint64_t>(drive.getColumn(5).getInt64());
    info.form_factor = drive.getColumn(6).getInt();
    info.interface_type = drive.getColumn(7).getInt();
    info.rotation_speed = drive.getColumn(8).getInt();
    info.flags = drive.getColumn(9).getUInt();
    return 0;
}

}  // namespace

int PD_Enumerate(unsigned* dev_ids, int max) {
    return call("PD_Enumerate", arguments(max), [&] {
        if (dev_ids == nullptr || max < 0) return kFailure;
        const auto ids = all<unsigned>("SELECT dev_id FROM drive ORDER BY dev_id LIMIT ?", max);
        std::copy(ids.begin(), ids.end(), dev_ids);
        return static_cast<int>(ids.size());
    });
}

int PD_Is_Exist(int enclosure, int port) {
    return call("PD_Is_Exist", arguments(enclosure, port), [&] {
        return first("SELECT 1 FROM drive WHERE dev_id = ?", dev_id_of(enclosure, port)) ? 1 : 0;
    });
}

int PD_Get_Info(int enclosure, int port, PD_INFO* info) {
    return call("PD_Get_Info", arguments(enclosure, port), [&] {
        return info == nullptr ? kFailure : fill(*info, dev_id_of(enclosure, port));
    });
}

int PD_Get_Capacity(int enclosure, int port, uint64_t* block_count, uint32_t* block_size) {
    return call("PD_Get_Capacity", arguments(enclosure, port), [&] {
        PD_INFO info;
        if (block_count == nullptr || block_size == nullptr ||
            fill(info, dev_id_of(enclosure, port)) != 0)
            return kFailure;
        *block_count = info.block_count;
        *block_size = info.block_size;
        return 0;
    });
}

int PD_Get_Sys_Name(int enclosure, int port, char* name, int size) {
    return text_of("PD_Get_Sys_Name", "SELECT sys_name FROM drive WHERE dev_id = ?", enclosure,
                   port, name, size);
}

int PD_Get_Log_Name(int enclosure, int port, char* name, int size) {
    return text_of("PD_Get_Log_Name", "SELECT log_name FROM drive WHERE dev_id = ?", enclosure,
                   port, name, size);
}

int PD_Get_WWN(int enclosure, int port, char* buffer, int size) {
    return text_of("PD_Get_WWN", "SELECT wwn FROM drive WHERE dev_id = ?", enclosure, port, buffer,
                   size);
}
