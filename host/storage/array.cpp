#include "storage/array.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string_view>
#include <thread>

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include "core/failure.h"
#include "core/read.h"
#include "core/tool.h"
#include "enrolment/enrolment.h"
#include "refusal/examination.h"
#include "refusal/stack.h"
#include "shared/descriptor.h"
#include "shared/raid_level.h"
#include "storage/members.h"
#include "taking/taking.h"

namespace host {

namespace {

constexpr uint64_t kFreeAtEnd = 32 << 20;

/// A name that tells which group it is.
std::string free_name(const Roots& roots, int id) {
    constexpr int kStep = 10000, kMost = 1 << 20;
    for (int number = id; number < kMost; number += kStep) {
        std::string name = fmt::format("md{}", number);
        if (::access((roots.sys + "/block/" + name).c_str(), F_OK) != 0) return name;
    }
    throw Failure(fmt::format("There is no name left for the array {}.", id),
                  "Stop arrays that nobody needs.");
}

/// Exclusion ends where md takes over, so all is asked once more right before.
void refuse_drives_in_use(const Roots& roots, const ArrayRecord& record) {
    for (const std::string& serial : serials_of(record)) {
        const Drive drive = drive_with_serial(roots, serial);
        const auto reasons = reasons_that_stay([&] { return reasons_in_tables(roots, drive); });
        if (!reasons.empty()) {
            throw Failure(fmt::format("The drive {} is refused:\n{}", serial, list_of(reasons)),
                          "It is in no array.");
        }
    }
}

std::vector<std::string> creation(const Roots& roots, const ArrayRecord& record,
                                  const std::vector<OurMember>& members) {
    const std::string level =
        record.level == RAID_LEVEL_JBOD ? "linear" : std::to_string(record.level);
    // Without a first resync, which would write each drive whole and leave it nothing spare.
    std::vector<std::string> words{"mdadm",
                                   "--create",
                                   roots.dev + "/" + free_name(roots, record.id),
                                   "--run",
                                   "--quiet",
                                   "--force",
                                   "--metadata=1.0",
                                   "--assume-clean",
                                   "--homehost=any",
                                   fmt::format("--name=ssd_op_{}", record.id),
                                   "--uuid=" + record.uuid,
                                   "--level=" + level,
                                   fmt::format("--raid-devices={}", record.members.size())};
    if (record.level > 0) words.emplace_back("--bitmap=none");
    if (!record.spares.empty())
        words.push_back(fmt::format("--spare-devices={}", record.spares.size()));
    for (const OurMember& member : members) words.push_back(member.partition.device(roots));
    return words;
}

void stop(const Roots& roots, const MdArray& array, const std::vector<OurMember>& members) {
    if (!has_only(array, members)) {
        throw Failure(fmt::format("The array {} has members that are not ours.", array.name),
                      "Take them out of it with mdadm.");
    }
    const Member whole{array.name, array.directory, {}};
    const auto holders = holders_of(roots, whole);
    if (!holders.empty()) {
        throw Failure(fmt::format("{} belongs to {}.", array.name, holders.front()),
                      "If nobody needs that, stop it with the tool that made it.");
    }
    must_run({"mdadm", "--stop", array.device(roots)});
}

/// No rebuild onto a spare, and no monthly check of this host's, shall be measured.
void freeze(const MdArray& array) {
    const std::string file = array.directory + "/md/sync_action";
    const ssd_op::shared::Descriptor action(::open(file.c_str(), O_WRONLY | O_CLOEXEC));
    if (!action && errno == ENOENT) return;  // a level without redundancy
    constexpr std::string_view kFrozen = "frozen\n";
    if (::write(action.get(), kFrozen.data(), kFrozen.size()) !=
        static_cast<ssize_t>(kFrozen.size()))
        throw Failure(fmt::format("The array {} cannot be kept from rebuilds: {}.", array.name,
                                  std::strerror(errno)),
                      "See dmesg.");
}

/// An array all of whose members cannot be read tells no UUID any more.
std::optional<MdArray> find_mute_array(const Roots& roots, std::vector<OurMember> members) {
    std::erase_if(members, [](const OurMember& member) { return member.is_readable; });
    const std::vector<MdArray> arrays = arrays_there(roots);
    const auto found = std::find_if(arrays.begin(), arrays.end(), [&](const MdArray& array) {
        return !array.members.empty() && has_only(array, members);
    });
    return found != arrays.end() ? std::optional(*found) : std::nullopt;
}

/// False when somebody has it in use by now. On a drive that cannot be read or written to it stays,
/// and the drive in the list.
bool take_off(const Roots& roots, const OurMember& member, const std::string& uuid) {
    if (!member.is_readable) return true;
    const std::string device = member.partition.device(roots);
    const std::string found = superblock_uuid(device);
    if (found.empty()) return true;
    if (found != uuid) {
        throw Failure(fmt::format("The drive {} is a member of another array.", member.serial),
                      "Nothing was written to it; see mdadm --examine " + device);
    }
    // Where the drive takes no writes, mdadm begins again for ever.
    constexpr std::chrono::seconds kMostTime{10};
    const ToolOutput output =
        run_tool({"mdadm", "--zero-superblock", "--quiet", device}, {.most_time = kMostTime});
    return !output.whole || output.status == 0;
}

}  // namespace

uint64_t usable_bytes(const Roots& roots, const UndoList& undo, const ArrayRecord& record) {
    const auto members = members_there(roots, undo, record.members);
    if (members.size() != record.members.size() || members.empty()) return 0;
    uint64_t smallest = UINT64_MAX, sum = 0;
    for (const OurMember& member : members) {
        const uint64_t bytes = member.partition.bytes;
        const uint64_t usable = bytes > kFreeAtEnd ? bytes - kFreeAtEnd : 0;
        smallest = std::min(smallest, usable);
        sum += usable;
    }
    if (record.level == RAID_LEVEL_JBOD) return sum;
    return smallest * static_cast<uint64_t>(ssd_op::shared::data_members(
                          record.level, static_cast<int>(members.size())));
}

std::optional<MdArray> running_array(const Roots& roots, const ArrayRecord& record) {
    auto array = find_array(roots, record.uuid);
    if (array && array->bytes == 0) array.reset();
    return array;
}

void make_array(const Roots& roots, UndoList& undo, const ArrayRecord& record) {
    const std::vector<std::string> serials = serials_of(record);
    const auto members = members_there(roots, undo, serials);
    if (members.size() != serials.size()) {
        throw Failure("A drive has lost its data partition, or another one is in its place.",
                      "List the drives again.");
    }
    refuse_drives_in_use(roots, record);
    undo.add(entry_of(record));
    must_run(creation(roots, record, members));
    const auto array = running_array(roots, record);
    if (!array || array->members.size() != members.size() || !has_only(*array, members)) {
        throw Failure(fmt::format("The array {} is not what it was made as.", record.id),
                      "See dmesg and mdadm --detail.");
    }
    freeze(*array);
}

void remove_array(const Roots& roots, UndoList& undo, int id) {
    constexpr int kTries = 20;
    constexpr std::chrono::milliseconds kPause{250};
    const auto record = find_array_record(undo, id);
    if (!record) return;
    if (const auto pool = pool_over(undo, id)) {
        throw Failure(fmt::format("The RAID group {} is in the pool {}.", id, pool->id),
                      "That has to go first.");
    }
    const auto members = members_to_free(roots, undo, serials_of(*record));
    // Where udev runs, it puts an array together again as soon as it is stopped.
    for (int tries = 0; tries < kTries; ++tries) {
        auto array = find_array(roots, record->uuid);
        if (!array) array = find_mute_array(roots, members);
        if (array) stop(roots, *array, members);
        const auto left = std::count_if(members.begin(), members.end(), [&](const auto& member) {
            return !take_off(roots, member, record->uuid);
        });
        if (left == 0) return undo.remove(UndoEntry::Kind::kArray, std::to_string(id));
        std::this_thread::sleep_for(kPause);
    }
    throw Failure(fmt::format("The members of the RAID group {} are in use.", id),
                  "See mdadm --detail and dmesg.");
}

}  // namespace host
