#include "storage/pool.h"

#include <algorithm>

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/failure.h"
#include "core/read.h"
#include "core/text.h"
#include "storage/array.h"

namespace host {

namespace {

bool has_tag(const Json& object, const char* field, const std::string& tag) {
    const std::string tags = text_in(object, field);
    const auto all = split(tags, ',');
    return std::find(all.begin(), all.end(), tag) != all.end();
}

/// None when there is none. What has its name and is another one is not ours.
std::optional<Json> find_group(const Lvm& lvm, const PoolRecord& pool) {
    for (const Json& group :
         lvm.report("vgs", "vg_name,vg_uuid,vg_tags,vg_missing_pv_count,lv_count")) {
        if (text_in(group, "vg_name") != pool.group_name()) continue;
        const bool is_known = pool.uuid.empty() || text_in(group, "vg_uuid") == pool.uuid;
        if (is_known && has_tag(group, "vg_tags", pool.tag)) return group;
        throw Failure(fmt::format("The volume group {} is not ours.", pool.group_name()),
                      "Nothing was done to it. Rename it with vgrename if you need it.");
    }
    return std::nullopt;
}

void refuse_foreign_volumes(const Lvm& lvm, const PoolRecord& pool) {
    for (const Json& volume : lvm.report("lvs", "lv_name,lv_tags,vg_name")) {
        if (text_in(volume, "vg_name") != pool.group_name() ||
            text_in(volume, "lv_tags").find("ssd_op_") != std::string::npos)
            continue;
        throw Failure(fmt::format("The volume {} in {} is not ours.",
                                  printable(text_in(volume, "lv_name")), pool.group_name()),
                      "Save what is in it, and remove it with lvremove.");
    }
}

/// Nothing can be written to an array that has lost too many members. A volume that is active keeps
/// its arrays, and what LVM has written goes with the ends of their members.
void take_apart(const Lvm& lvm, const PoolRecord& pool) {
    std::vector<std::string> words{"pvremove", "-y", "-ff"};
    words.insert(words.end(), lvm.devices().begin(), lvm.devices().end());
    try {
        lvm.run({"vgremove", "-y", "-f", pool.group_name()});
        lvm.run(words);
    } catch (const Failure&) {
        // Arrays and drives are taken back all the same.
    }
}

/// Links to volumes that went without LVM are in the way of the next group of that name.
void remove_dead_links(const Roots& roots, const PoolRecord& pool) {
    const std::string directory = roots.dev + "/" + pool.group_name();
    for (const std::string& name : names_in(directory).value_or(std::vector<std::string>())) {
        const std::string link = fmt::format("{}/{}", directory, name);
        struct stat found {};
        if (::lstat(link.c_str(), &found) == 0 && S_ISLNK(found.st_mode) && !real_path(link))
            ::unlink(link.c_str());
    }
    ::rmdir(directory.c_str());
}

}  // namespace

std::vector<ArrayRecord> arrays_under(const UndoList& undo, const PoolRecord& pool) {
    std::vector<ArrayRecord> arrays;
    for (const int id : pool.arrays) {
        if (auto record = find_array_record(undo, id)) arrays.push_back(std::move(*record));
    }
    return arrays;
}

bool pool_is_there(const Roots& roots, const UndoList& undo, const PoolRecord& pool) {
    const auto arrays = arrays_under(undo, pool);
    return std::any_of(arrays.begin(), arrays.end(), [&](const ArrayRecord& record) {
        return running_array(roots, record).has_value();
    });
}

uint64_t pool_extents(const Roots& roots, const UndoList& undo, const PoolRecord& pool) {
    const auto arrays = arrays_under(undo, pool);
    if (arrays.empty() || arrays.size() != pool.arrays.size()) return 0;
    uint64_t smallest = UINT64_MAX;
    for (const ArrayRecord& record : arrays)
        smallest = std::min(smallest, usable_bytes(roots, undo, record) / kExtentBytes);
    for (const Json& part : Lvm(roots, arrays).report("pvs", "pv_name,pv_pe_count"))
        smallest = std::min(smallest, number_in(part, "pv_pe_count"));
    return smallest * arrays.size();
}

void make_pool(const Roots& roots, UndoList& undo, PoolRecord pool) {
    const Lvm lvm(roots, arrays_under(undo, pool));
    if (lvm.devices().size() != pool.arrays.size() || pool.arrays.empty())
        throw Failure("A RAID group of the pool does not run.", "See dmesg and /proc/mdstat.");
    undo.add(entry_of(pool));
    std::vector<std::string> words{
        "vgcreate",       "-y", "-ff", "--addtag", pool.tag, "--physicalextentsize", "4m",
        pool.group_name()};
    words.insert(words.end(), lvm.devices().begin(), lvm.devices().end());
    lvm.run(words);
    const auto group = find_group(lvm, pool);
    if (!group) {
        throw Failure(fmt::format("There is no volume group {} after all.", pool.group_name()),
                      "See dmesg.");
    }
    pool.uuid = text_in(*group, "vg_uuid");
    undo.add(entry_of(pool));
}

void remove_pool(const Roots& roots, UndoList& undo, int id) {
    const auto pool = find_pool_record(undo, id);
    if (!pool) return;
    for (const VolumeRecord& volume : volumes_in(undo)) {
        if (volume.pool == id) {
            throw Failure(fmt::format("The pool {} holds the volume {}.", id, volume.id),
                          "That has to go first.");
        }
    }
    const Lvm lvm(roots, arrays_under(undo, *pool));
    const auto group = lvm.devices().empty() ? std::nullopt : find_group(lvm, *pool);
    if (group && number_in(*group, "vg_missing_pv_count") == 0) {
        refuse_foreign_volumes(lvm, *pool);
        take_apart(lvm, *pool);
    }
    remove_dead_links(roots, *pool);
    undo.remove(UndoEntry::Kind::kPool, std::to_string(id));
}

}  // namespace host
