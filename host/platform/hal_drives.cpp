/// Which drives were given to this program, and what they say of themselves.

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "enrolment/given.h"
#include "platform/hal.h"
#include "provider/call.h"
#include "provider/text.h"

namespace {

using namespace host;
using provider::arguments;
using provider::call;
using provider::hand_out;

constexpr int kFailure = -1;

std::optional<GivenDrive> given_in(int enclosure, int port) {
    for (const GivenDrive& given : given_drives(Roots{})) {
        if (given.slot.enclosure == enclosure && given.slot.port == port) return given;
    }
    return std::nullopt;
}

/// One text of a drive, for the call of that name. An empty one counts as not there.
template <typename Text>
int text_of(const char* name, int enclosure, int port, char* buffer, int size, Text&& text) {
    return call(name, arguments(enclosure, port, size), [&] {
        const auto given = given_in(enclosure, port);
        const std::string found = given ? text(*given) : std::string();
        const int result = hand_out(found, buffer, size);
        return found.empty() ? kFailure : result;
    });
}

int interface_of(Bus bus) {
    switch (bus) {
        case Bus::kNvme:
            return PD_INTERFACE_NVME;
        case Bus::kSas:
            return PD_INTERFACE_SAS;
        case Bus::kVirtio:
            return PD_INTERFACE_VIRTIO;
        case Bus::kVirtioScsi:
            return PD_INTERFACE_VIRTIO_SCSI;
        case Bus::kSata:
        case Bus::kUnknown:
            break;
    }
    return PD_INTERFACE_SATA;
}

const char* word_of(Bus bus) {
    switch (bus) {
        case Bus::kNvme:
            return "NVMe";
        case Bus::kSata:
            return "SATA";
        case Bus::kSas:
            return "SAS";
        case Bus::kVirtio:
        case Bus::kVirtioScsi:
            return "virtio";
        case Bus::kUnknown:
            break;
    }
    return "drive";
}

int fill(PD_INFO& info, int enclosure, int port) {
    const auto given = given_in(enclosure, port);
    if (!given) return kFailure;
    const Drive& drive = given->drive;
    info = PD_INFO{};
    hand_out(drive.identity.vendor, info.vendor, sizeof info.vendor);
    hand_out(drive.identity.model, info.model, sizeof info.model);
    hand_out(drive.identity.serial, info.serial_no, sizeof info.serial_no);
    hand_out(drive.identity.firmware, info.revision, sizeof info.revision);
    info.block_size = drive.block_bytes;
    info.block_count = drive.bytes / drive.block_bytes;
    info.form_factor = PD_FORM_2_5_INCH;  // the kernel does not tell: the interface says enough
    info.interface_type = interface_of(drive.place.bus);
    info.flags = PD_FLAG_SSD;
    return 0;
}

}  // namespace

int PD_Enumerate(unsigned* dev_ids, int max) {
    return call("PD_Enumerate", arguments(max), [&] {
        if (dev_ids == nullptr || max < 0) return kFailure;
        auto given = given_drives(Roots{});
        given.resize(std::min(given.size(), static_cast<size_t>(max)));
        std::transform(given.begin(), given.end(), dev_ids,
                       [](const GivenDrive& one) { return one.id(); });
        return static_cast<int>(given.size());
    });
}

int PD_Is_Exist(int enclosure, int port) {
    // A look that fails, -1, must not read as a drive.
    return std::max(0, call("PD_Is_Exist", arguments(enclosure, port),
                            [&] { return given_in(enclosure, port) ? 1 : 0; }));
}

int PD_Get_Info(int enclosure, int port, PD_INFO* info) {
    return call("PD_Get_Info", arguments(enclosure, port),
                [&] { return info == nullptr ? kFailure : fill(*info, enclosure, port); });
}

int PD_Get_Capacity(int enclosure, int port, uint64_t* block_count, uint32_t* block_size) {
    return call("PD_Get_Capacity", arguments(enclosure, port), [&] {
        PD_INFO info;
        if (block_count == nullptr || block_size == nullptr || fill(info, enclosure, port) != 0)
            return kFailure;
        *block_count = info.block_count;
        *block_size = info.block_size;
        return 0;
    });
}

int PD_Get_Sys_Name(int enclosure, int port, char* name, int size) {
    return text_of("PD_Get_Sys_Name", enclosure, port, name, size,
                   [](const GivenDrive& one) { return one.drive.device(Roots{}); });
}

int PD_Get_Log_Name(int enclosure, int port, char* name, int size) {
    return text_of("PD_Get_Log_Name", enclosure, port, name, size, [](const GivenDrive& one) {
        return fmt::format("Host {} slot {}", word_of(one.drive.place.bus), one.slot.port);
    });
}

int PD_Get_WWN(int enclosure, int port, char* buffer, int size) {
    constexpr size_t kMostCharacters = 64;
    return text_of("PD_Get_WWN", enclosure, port, buffer, size, [](const GivenDrive& one) {
        return one.drive.identity.wwn.substr(0, kMostCharacters);
    });
}
