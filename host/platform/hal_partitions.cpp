/// The partitions of the drives.

#include <algorithm>
#include <optional>
#include <string>

#include "drives/partition.h"
#include "enrolment/given.h"
#include "platform/hal.h"
#include "provider/call.h"
#include "provider/text.h"

namespace {

using namespace host;
using provider::arguments;
using provider::call;

constexpr int kFailure = -1;
constexpr int kWholeDrive = 0;

std::optional<Partition> partition_in(int enclosure, int port, int part_no) {
    const auto drive = given_drive(Roots{}, slot_id(enclosure, port));
    return drive ? partition_of(*drive, part_no) : std::nullopt;
}

std::string name_of(int enclosure, int port, int part_no) {
    const auto drive = given_drive(Roots{}, slot_id(enclosure, port));
    if (!drive) return {};
    if (part_no == kWholeDrive) return drive->device(Roots{});
    const auto partition = partition_of(*drive, part_no);
    return partition ? partition->device(Roots{}) : std::string();
}

}  // namespace

int Part_Is_Exist_V2(int enclosure, int port, int part_no) {
    // A look that fails, -1, must not read as a partition.
    return std::max(0, call("Part_Is_Exist_V2", arguments(enclosure, port, part_no),
                            [&] { return partition_in(enclosure, port, part_no) ? 1 : 0; }));
}

int Part_Get_Name(int enclosure, int port, int part_no, char* name, int size) {
    return call("Part_Get_Name", arguments(enclosure, port, part_no, size), [&] {
        const std::string found = name_of(enclosure, port, part_no);
        return found.empty() ? kFailure : provider::hand_out(found, name, size);
    });
}

int Part_Get_Info(int enclosure, int port, int part_no, PART_INFO* info) {
    return call("Part_Get_Info", arguments(enclosure, port, part_no), [&] {
        const auto partition = partition_in(enclosure, port, part_no);
        if (info == nullptr || !partition) return kFailure;
        info->size_kib = partition->bytes / 1024;
        info->start_kib = partition->start / 1024;
        return 0;
    });
}
