/// The partitions of the drives.

#include <string>

#include "core/call.h"
#include "core/query.h"
#include "platform/hal.h"
#include "platform/hal_slot.h"
#include "provider/text.h"

namespace appliance {

std::optional<std::string> device_name(unsigned dev_id, int part_no) {
    if (part_no == kWholeDrive)
        return first<std::string>("SELECT sys_name FROM drive WHERE dev_id = ?", dev_id);
    return first<std::string>("SELECT name FROM partition WHERE dev_id = ? AND part_no = ?", dev_id,
                              part_no);
}

}  // namespace appliance

using namespace appliance;

int Part_Is_Exist_V2(int enclosure, int port, int part_no) {
    return call("Part_Is_Exist_V2", arguments(enclosure, port, part_no), [&] {
        return first("SELECT 1 FROM partition WHERE dev_id = ? AND part_no = ?",
                     dev_id_of(enclosure, port), part_no)
                   ? 1
                   : 0;
    });
}

int Part_Get_Name(int enclosure, int port, int part_no, char* name, int size) {
    return call("Part_Get_Name", arguments(enclosure, port, part_no, size), [&] {
        const auto found = device_name(dev_id_of(enclosure, port), part_no);
        return found ? provider::hand_out(*found, name, size) : -1;
    });
}

int Part_Get_Info(int enclosure, int port, int part_no, PART_INFO* info) {
    return call("Part_Get_Info", arguments(enclosure, port, part_no), [&] {
        SQLite::Statement query =
            statement("SELECT size_kib, start_kib FROM partition WHERE dev_id = ? AND part_no = ?",
                      dev_id_of(enclosure, port), part_no);
        if (info == nullptr || !query.executeStep()) return -1;
        info->size_kib = static_cast<uint64_t>(query.getColumn(0).getInt64());
        info->start_kib = static_cast<uint64_t>(query.getColumn(1).getInt64());
        return 0;
    });
}
