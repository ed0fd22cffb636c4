#include "storage/volume.h"

#include <algorithm>

#include <fmt/format.h>

#include "core/failure.h"
#include "core/read.h"
#include "core/text.h"
#include "core/tool.h"
#include "refusal/openers.h"
#include "refusal/stack.h"
#include "refusal/tables.h"
#include "storage/lvm.h"
#include "storage/pool.h"
#include "taking/taking.h"

namespace host {

namespace {

std::string without_dashes(std::string text) {
    std::erase(text, '-');
    return text;
}

PoolRecord pool_under(const UndoList& undo, const VolumeRecord& volume) {
    auto pool = find_pool_record(undo, volume.pool);
    if (!pool) throw Failure(fmt::format("The pool of the volume {} is not known.", volume.id), "");
    return std::move(*pool);
}

std::string path_in(const PoolRecord& pool, const VolumeRecord& volume) {
    return pool.group_name() + "/" + volume.name();
}

/// What LVM itself knows of it.
std::optional<Json> find_logical(const Lvm& lvm, const PoolRecord& pool,
                                 const VolumeRecord& volume) {
    for (const Json& logical : lvm.report("lvs", "lv_name,lv_uuid,lv_tags,vg_name,vg_uuid")) {
        if (text_in(logical, "vg_name") == pool.group_name() &&
            text_in(logical, "vg_uuid") == pool.uuid &&
            text_in(logical, "lv_name") == volume.name() &&
            text_in(logical, "lv_tags") == volume.tag &&
            (volume.uuid.empty() || text_in(logical, "lv_uuid") == volume.uuid))
            return logical;
    }
    return std::nullopt;
}

std::vector<Reason> uses_of(const Roots& roots, const VolumeDevice& device) {
    using Kind = Reason::Kind;
    const Member member{device.path, device.directory, device.number};
    const auto is_on_it = [&](const Mount& mount) {
        return std::find(mount.devices.begin(), mount.devices.end(), device.number) !=
               mount.devices.end();
    };
    std::vector<Reason> uses;
    for (const std::string& opener : openers_of(roots, {member}))
        uses.push_back({Kind::kOpen, "is open in " + opener, ""});
    for (const std::string& holder : holders_of(roots, member))
        uses.push_back({Kind::kHeld, "belongs to " + holder, ""});
    for (const Mount& mount : mounts(roots)) {
        if (is_on_it(mount))
            uses.push_back({Kind::kMounted, "is mounted at " + printable(mount.point), ""});
    }
    return uses;
}

void refuse_in_use(const Roots& roots, const VolumeDevice& device) {
    const auto uses = reasons_that_stay([&] { return uses_of(roots, device); });
    if (!uses.empty()) {
        throw Failure(fmt::format("{} {}.", device.path, uses.front().text), "End that first.");
    }
}

/// A volume whose arrays are broken can still be taken away from the kernel.
void remove_from_kernel(const Roots& roots, const UndoList& undo, const VolumeRecord& volume) {
    if (find_volume(roots, undo, volume))
        must_run({"dmsetup", "remove", volume.device()}, {.variables = {"DM_DISABLE_UDEV=1"}});
}

}  // namespace

std::string mapped_uuid(const UndoList& undo, const VolumeRecord& volume) {
    const auto pool = find_pool_record(undo, volume.pool);
    return "LVM-" + without_dashes(pool ? pool->uuid : "") + without_dashes(volume.uuid);
}

std::optional<VolumeDevice> find_volume(const Roots& roots, const UndoList& undo,
                                        const VolumeRecord& volume) {
    const std::string uuid = mapped_uuid(undo, volume);
    const auto names = names_in(roots.sys + "/block");
    if (!names) throw Failure("The volumes cannot be listed.", "Is sysfs mounted?");
    for (const std::string& name : *names) {
        const auto directory = real_path(roots.sys + "/block/" + name);
        if (!directory || read_attribute(*directory + "/dm/name") != volume.device()) continue;
        const auto number = parse_device_number(read_attribute(*directory + "/dev").value_or(""));
        const auto sectors = read_number(*directory + "/size");
        if (!read_attribute(*directory + "/dm/uuid").value_or("").starts_with(uuid) || !number ||
            !sectors) {
            throw Failure(fmt::format("The volume {} is not ours.", volume.device()),
                          "Nothing was done to it; see dmsetup info.");
        }
        return VolumeDevice{roots.dev + "/mapper/" + volume.device(), *directory, *number,
                            *sectors * 512};
    }
    return std::nullopt;
}

uint64_t free_bytes(const Roots& roots, const UndoList& undo, const PoolRecord& pool,
                    std::optional<int> beside) {
    uint64_t used = 0;
    for (const VolumeRecord& volume : volumes_in(undo)) {
        if (volume.pool != pool.id || volume.id == beside) continue;
        if (const auto device = find_volume(roots, undo, volume)) used += device->bytes;
    }
    const uint64_t all = pool_extents(roots, undo, pool) * kExtentBytes;
    return all > used ? all - used : 0;
}

uint64_t possible_bytes(const PoolRecord& pool, uint64_t bytes) {
    const uint64_t row = std::max<uint64_t>(pool.arrays.size(), 1) * kExtentBytes;
    return bytes / row * row;
}

void make_volume(const Roots& roots, UndoList& undo, VolumeRecord volume, uint64_t bytes) {
    const PoolRecord pool = pool_under(undo, volume);
    const Lvm lvm(roots, arrays_under(undo, pool));
    undo.add(entry_of(volume));
    // Parts behind each other from the start of each array: what is used ends where it is thought
    // to.
    std::vector<std::string> words{
        "lvcreate", "-y",      "-Wn",        "-Zn", "--addtag",
        volume.tag, "--alloc", "contiguous", "-l",  std::to_string(bytes / kExtentBytes)};
    if (pool.arrays.size() > 1)
        words.insert(words.end(), {"-i", std::to_string(pool.arrays.size())});
    words.insert(words.end(), {"-n", volume.name(), pool.group_name()});
    lvm.run(words);
    const auto logical = find_logical(lvm, pool, volume);
    if (!logical || !find_volume(roots, undo, volume)) {
        throw Failure(fmt::format("There is no volume {} after all.", volume.device()),
                      "See dmesg and lvs.");
    }
    volume.uuid = text_in(*logical, "lv_uuid");
    undo.add(entry_of(volume));
}

void resize_volume(const Roots& roots, const UndoList& undo, const VolumeRecord& volume,
                   uint64_t bytes) {
    const auto device = find_volume(roots, undo, volume);
    if (!device) throw Failure(fmt::format("There is no volume {}.", volume.device()), "See lvs.");
    if (device->bytes == bytes) return;
    const PoolRecord pool = pool_under(undo, volume);
    const Lvm lvm(roots, arrays_under(undo, pool));
    if (!find_logical(lvm, pool, volume))
        throw Failure(fmt::format("The volume {} is not ours.", volume.device()), "See lvs.");
    lvm.run({"lvresize", "-y", "-f", "--alloc", "contiguous", "-l",
             std::to_string(bytes / kExtentBytes), path_in(pool, volume)});
}

void remove_volume(const Roots& roots, UndoList& undo, int id) {
    const auto volume = find_volume_record(undo, id);
    if (!volume) return;
    if (const auto device = find_volume(roots, undo, *volume)) refuse_in_use(roots, *device);
    const PoolRecord pool = pool_under(undo, *volume);
    const Lvm lvm(roots, arrays_under(undo, pool));
    try {
        if (!lvm.devices().empty() && find_logical(lvm, pool, *volume))
            lvm.run({"lvremove", "-y", "-f", path_in(pool, *volume)});
    } catch (const Failure&) {
        remove_from_kernel(roots, undo, *volume);
    }
    remove_from_kernel(roots, undo, *volume);
    undo.remove(UndoEntry::Kind::kVolume, std::to_string(id));
}

}  // namespace host
