#include "measuring/ownership.h"

#include <algorithm>
#include <optional>

#include <fmt/format.h>

#include "core/failure.h"
#include "core/read.h"
#include "core/text.h"
#include "core/tool.h"
#include "enrolment/enrolment.h"
#include "refusal/examination.h"
#include "refusal/stack.h"
#include "shared/drive_id.h"
#include "taking/taking.h"

namespace host {

namespace {

using Kind = UndoEntry::Kind;

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
    throw Failure(printable(path) + " " + why + ".",
                  "Name an enrolled drive, its data partition or a test volume.");
}

std::string text_of(const UndoEntry& entry, const char* key) {
    const auto found = entry.details.find(key);
    return found != entry.details.end() && found->is_string() ? found->get<std::string>() : "";
}

void must_be_taken(const Roots& roots, const UndoList& undo, const Drive& drive,
                   const std::string& path) {
    enrolment_of(roots, drive);
    if (!is_taken(undo, drive)) refuse(path, "lies on a drive that no evaluation has taken");
}

// ---- The data partition of a drive ----

std::string uuid_of_array(const Roots& roots, const std::string& name) {
    const ToolOutput output = run_tool({"mdadm", "--detail", "--export", roots.dev + "/" + name});
    for (const std::string_view line : split(output.text, '\n')) {
        constexpr std::string_view kKey = "MD_UUID=";
        if (line.starts_with(kKey)) return std::string(trimmed(line.substr(kKey.size())));
    }
    return {};
}

bool is_array_of_ours(const Roots& roots, const UndoList& undo, const std::string& name) {
    const std::string uuid = name.starts_with("md") ? uuid_of_array(roots, name) : "";
    return !uuid.empty() &&
           std::any_of(undo.entries().begin(), undo.entries().end(), [&](const UndoEntry& entry) {
               return entry.kind == Kind::kArray && text_of(entry, "uuid") == uuid;
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
    const auto parent = parse_device_number(read_attribute(directory + "/../dev").value_or(""));
    const auto drive = parent ? find_drive(roots, *parent) : std::nullopt;
    if (!drive) refuse(path, "lies on no SSD");
    if (read_number(directory + "/partition") != uint64_t{ssd_op::shared::kDataPartition})
        refuse(path, "is not the data partition");
    must_be_taken(roots, undo, *drive, path);

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

std::string without_dashes(std::string text) {
    std::erase(text, '-');
    return text;
}

/// Device mapper has the UUIDs of group and volume one behind the other.
bool is_volume_of_ours(const UndoList& undo, const std::string& uuid) {
    return std::any_of(undo.entries().begin(), undo.entries().end(), [&](const UndoEntry& entry) {
        const auto pool = entry.details.find("pool");
        if (entry.kind != Kind::kVolume || pool == entry.details.end() ||
            !pool->is_number_integer())
            return false;
        const UndoEntry* const group = undo.find(Kind::kPool, std::to_string(pool->get<int>()));
        const std::string volume = without_dashes(text_of(entry, "uuid"));
        const std::string under = group != nullptr ? without_dashes(text_of(*group, "uuid")) : "";
        return !volume.empty() && !under.empty() && uuid == "LVM-" + under + volume;
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

}  // namespace host
