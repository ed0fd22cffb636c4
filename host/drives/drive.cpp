#include "drives/drive.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <string_view>

#include <fmt/format.h>

#include "core/failure.h"
#include "core/read.h"
#include "core/text.h"

namespace host {

namespace {

bool takes_off(std::string_view& text, int (*kind)(int)) {
    const auto end = std::find_if_not(text.begin(), text.end(), [kind](char character) {
        return kind(static_cast<unsigned char>(character)) != 0;
    });
    const auto length = static_cast<size_t>(end - text.begin());
    text.remove_prefix(length);
    return length > 0;
}

/// sda, vdb, nvme0n1. Not what is made of drives (dm, md, loop), and not the hidden paths of NVMe
/// drives with several (nvme0c0n1).
bool is_drive_name(std::string_view name) {
    if (name.starts_with("nvme")) {
        name.remove_prefix(4);
        if (!takes_off(name, std::isdigit) || !name.starts_with('n')) return false;
        name.remove_prefix(1);
        return takes_off(name, std::isdigit) && name.empty();
    }
    if (!name.starts_with("sd") && !name.starts_with("vd")) return false;
    name.remove_prefix(2);
    return takes_off(name, std::islower) && name.empty();
}

std::optional<Drive> look_at(const Roots& roots, const std::string& name) {
    const auto directory = real_path(roots.sys + "/block/" + name);
    if (!directory) return std::nullopt;
    const auto is = [&](const char* attribute, uint64_t value) {
        return read_number(*directory + "/" + attribute) == value;
    };
    if (!is("queue/rotational", 0) || !is("removable", 0)) return std::nullopt;

    const auto number = device_number_in(*directory);
    const auto sectors = read_number(*directory + "/size");
    const auto block = read_number(*directory + "/queue/logical_block_size");
    if (!number || !block || *block < kSectorBytes || *block > 65536) return std::nullopt;
    if (!sectors || *sectors == 0 || *sectors > std::numeric_limits<uint64_t>::max() / kSectorBytes)
        return std::nullopt;

    Drive drive;
    drive.name = name;
    drive.directory = *directory;
    drive.number = *number;
    drive.bytes = *sectors * kSectorBytes;
    drive.block_bytes = static_cast<uint32_t>(*block);
    drive.discard = {read_number(*directory + "/queue/discard_max_bytes").value_or(0),
                     read_number(*directory + "/queue/discard_granularity").value_or(0)};
    drive.identity = read_identity(*directory);
    drive.place = place_of(*directory);
    drive.sequence = read_number(*directory + "/diskseq");
    return drive;
}

/// A place that two drives have tells neither of them.
void drop_shared_places(std::vector<Drive>& drives) {
    const std::vector<Drive> seen = drives;
    for (Drive& drive : drives) {
        const auto is_there = [&](const Drive& other) {
            return other.place.path == drive.place.path;
        };
        if (std::count_if(seen.begin(), seen.end(), is_there) > 1) drive.place.path.clear();
    }
}

}  // namespace

std::vector<Drive> list_drives(const Roots& roots) {
    const auto names = names_in(roots.sys + "/block");
    if (!names) {
        throw Failure("The drives cannot be listed: " + roots.sys + "/block cannot be read.",
                      "Is sysfs mounted there?");
    }
    std::vector<Drive> drives;
    for (const std::string& name : *names) {
        if (!is_drive_name(name)) continue;
        if (auto drive = look_at(roots, name)) drives.push_back(std::move(*drive));
    }
    drop_shared_places(drives);
    return drives;
}

std::optional<Drive> find_drive(const Roots& roots, DeviceNumber number) {
    const std::vector<Drive> drives = list_drives(roots);
    const auto found = std::find_if(drives.begin(), drives.end(),
                                    [&](const Drive& drive) { return drive.number == number; });
    return found != drives.end() ? std::optional(*found) : std::nullopt;
}

bool is_same(const Roots& roots, const Drive& drive) {
    const auto now = find_drive(roots, drive.number);
    return now && now->identity == drive.identity && now->bytes == drive.bytes &&
           now->directory == drive.directory && now->sequence == drive.sequence;
}

void check_same(const Roots& roots, const Drive& drive) {
    if (!is_same(roots, drive)) fail_changed(drive);
}

void fail_changed(const Drive& drive) {
    throw Failure(
        fmt::format("The drive {} is gone, or another one is in its place.", drive.identity.serial),
        "Nothing more is written to it. List the drives again.");
}

Drive drive_with_serial(const Roots& roots, const std::string& serial) {
    std::vector<Drive> found = list_drives(roots);
    std::erase_if(found, [&](const Drive& drive) { return drive.identity.serial != serial; });
    if (serial.empty() || found.empty()) {
        throw Failure(
            fmt::format("No SSD of this host has the serial number \"{}\".", printable(serial)),
            "See ssd-op-host drives list.");
    }
    if (found.size() > 1) {
        throw Failure(
            fmt::format("{} SSDs have the serial number \"{}\": it does not tell which is "
                        "meant.",
                        found.size(), printable(serial)),
            "Take the others out, or leave one namespace of an NVMe drive.");
    }
    return found.front();
}

}  // namespace host
