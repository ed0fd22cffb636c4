#include "measuring/ownership.h"

#include <algorithm>
#include <filesystem>
#include <optional>

#include <fmt/format.h>

#include "core/failure.h"
#include "core/read.h"
#include "core/text.h"
#include "enrolment/enrolment.h"
#include "refusal/examination.h"
#include "refusal/stack.h"
#include "storage/layout.h"
#include "storage/mdadm.h"
#include "storage/record.h"
#include "storage/volume.h"
#include "taking/taking.h"

namespace host {

namespace {

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
    throw Failure(printable(path) + " " + why + ".",
                  "Name an enrolled drive, its data partition or a test volume.");
}

void must_be_taken(const Roots& roots, const UndoList& undo, const Drive& drive,
                   const std::string& path) {
    enrolment_of(roots, drive);
    if (!is_taken(undo, drive)) refuse(path, "lies on a drive that no evaluation has taken");
}

// ---- The data partition of a drive ----

bool is_array_of_ours(const Roots& roots, const UndoList& undo, const std::string& name) {
    const auto arrays = arrays_in(undo);
    return std::any_of(arrays.begin(), arrays.end(), [&](const ArrayRecord& record) {
        const auto array = find_array(roots, record.uuid);
        return array && array->name == name;
    });
}

/// Nothing may speak against the drive but that our array has the partition.
void must_be_free(const Roots& roots, const Drive& drive, bool is_member, const std::string& path) {
    const auto reasons = reasons_that_stay([&] {
        auto found = reasons_in_tables(roots, drive);
        const auto held = std::find_if(found.begin(), found.end(), [](const Reason& reason) {
            return reason.kind == Reason::Kind::kHeld;
        });
        if (is_member && held != found.end()) found.erase(held);
        return found;
    });
    if (!reasons.empty()) refuse(path, "is refused:\n" + list_of(reasons) + "It is left alone");
}

Ownership of_partition(const Roots& roots, const UndoList& undo, const std::string& directory,
                       const std::string& path) {
    const auto parent = device_number_in(directory + "/..");
    const auto drive = parent ? find_drive(roots, *parent) : std::nullopt;
    if (!drive) refuse(path, "lies on no SSD");
    must_be_taken(roots, undo, *drive, path);
    const auto data = our_data_partition(roots, undo, *drive);
    if (!data || data->directory != directory) refuse(path, "is no data partition of ours");

    Ownership ours{{*drive}, false, directory + "/../diskseq", ""};
    const auto holders = names_in(directory + "/holders");
    if (!holders) refuse(path, "tells nobody what is built on it");
    if (!holders->empty()) {
        const std::string& holder = holders->front();
        if (holders->size() > 1 || !is_array_of_ours(roots, undo, holder))
            refuse(path, "belongs to " + printable(holder) + ", which is none of ours");
        ours.is_member = true;
        ours.mark_file = roots.sys + "/block/" + holder + "/diskseq";
    }
    must_be_free(roots, *drive, ours.is_member, path);
    return ours;
}

// ---- A volume ----

bool is_volume_of_ours(const UndoList& undo, const std::string& uuid) {
    const auto volumes = volumes_in(undo);
    return std::any_of(volumes.begin(), volumes.end(), [&](const VolumeRecord& volume) {
        const auto pool = find_pool_record(undo, volume.pool);
        return pool && !pool->uuid.empty() && !volume.uuid.empty() &&
               uuid == mapped_uuid(undo, volume);
    });
}

Ownership of_volume(const Roots& roots, const UndoList& undo, DeviceNumber number,
                    const std::string& directory, const std::string& path) {
    Ownership ours{{}, false, directory + "/dm/uuid", ""};
    if (!is_volume_of_ours(undo, read_attribute(ours.mark_file).value_or("")))
        refuse(path, "is none of our volumes");
    const auto of_system = system_drives(roots);
    for (const DeviceNumber below : drives_below(roots, number)) {
        const auto drive = find_drive(roots, below);
        if (!drive || of_system.contains(below)) refuse(path, "lies on what is no drive of ours");
        must_be_taken(roots, undo, *drive, path);
        ours.drives.push_back(*drive);
    }
    if (ours.drives.empty()) refuse(path, "lies on no drive");
    const std::string slaves = directory + "/slaves/";
    for (const std::string& name : names_in(slaves).value_or(std::vector<std::string>()))
        ours.below.push_back(real_path(slaves + name).value_or(slaves + name));
    return ours;
}

}  // namespace

Ownership ownership_of(const Roots& roots, const UndoList& undo, DeviceNumber number,
                       const std::string& path) {
    const auto directory = real_path(roots.sys + "/dev/block/" + number.text());
    if (!directory) refuse(path, "is gone");
    Ownership ours;
    if (read_number(*directory + "/partition"))
        ours = of_partition(roots, undo, *directory, path);
    else if (read_attribute(*directory + "/dm/uuid"))
        ours = of_volume(roots, undo, number, *directory, path);
    else
        refuse(path, "is none of our devices");
    ours.mark = read_attribute(ours.mark_file).value_or("");
    return ours;
}

void Ownership::check(const Roots& roots) const {
    for (const Drive& drive : drives) check_same(roots, drive);
    if (!mark.empty() && read_attribute(mark_file) == mark) return;
    throw Failure("The array or volume is gone, or another one has its name.",
                  "Nothing more is written to it.");
}

void Ownership::check_redundancy() const {
    for (const std::string& directory : below) {
        // What is no array has no such attribute, nor has one whose level ends with a drive.
        if (read_number(directory + "/md/degraded").value_or(0) == 0) continue;
        const std::string name = std::filesystem::path(directory).filename();
        throw Failure("The array " + printable(name) + " has lost a drive.",
                      "Measured without it, the volume says nothing of the drives: see mdadm "
                      "--detail and dmesg.");
    }
}

}  // namespace host
