#include "storage/record.h"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>

#include "core/failure.h"
#include "core/text.h"

namespace host {

namespace {

using Kind = UndoEntry::Kind;

[[noreturn]] void fail_at(const UndoEntry& entry) {
    throw Failure(fmt::format("What the undo list says of {} is damaged.", printable(entry.name)),
                  "Restore undo.json from a backup, or take down by hand what it names.");
}

int id_of(const UndoEntry& entry) {
    int id = -1;
    const char* const end = entry.name.data() + entry.name.size();
    const auto [rest, error] = std::from_chars(entry.name.data(), end, id);
    if (error != std::errc() || rest != end || id < 0) fail_at(entry);
    return id;
}

template <typename Read>
auto read(const UndoEntry& entry, Kind kind, Read&& parse) {
    if (entry.kind != kind) fail_at(entry);
    try {
        return parse(entry.details, id_of(entry));
    } catch (const Json::exception&) {
        fail_at(entry);
    }
}

template <typename Parse>
auto all(const UndoList& undo, Kind kind, Parse&& parse) {
    std::vector<decltype(parse(undo.entries().front()))> found;
    for (const UndoEntry& entry : undo.entries()) {
        if (entry.kind == kind) found.push_back(parse(entry));
    }
    return found;
}

template <typename Parse>
auto one(const UndoList& undo, Kind kind, int id, Parse&& parse) {
    const UndoEntry* const entry = undo.find(kind, std::to_string(id));
    return entry == nullptr ? std::nullopt : std::optional(parse(*entry));
}

}  // namespace

std::string PoolRecord::group_name() const { return fmt::format("ssd_op_pool_{}", id); }

std::string VolumeRecord::name() const { return fmt::format("lv{}", id); }

std::string VolumeRecord::device() const { return fmt::format("ssd_op_pool_{}-lv{}", pool, id); }

UndoEntry entry_of(const ArrayRecord& record) {
    return {Kind::kArray,
            std::to_string(record.id),
            {{"level", record.level},
             {"uuid", record.uuid},
             {"members", record.members},
             {"spares", record.spares},
             {"owner", record.owner}}};
}

UndoEntry entry_of(const PoolRecord& record) {
    return {Kind::kPool,
            std::to_string(record.id),
            {{"arrays", record.arrays},
             {"tag", record.tag},
             {"uuid", record.uuid},
             {"owner", record.owner}}};
}

UndoEntry entry_of(const VolumeRecord& record) {
    return {Kind::kVolume,
            std::to_string(record.id),
            {{"pool", record.pool},
             {"tag", record.tag},
             {"uuid", record.uuid},
             {"owner", record.owner}}};
}

ArrayRecord array_of(const UndoEntry& entry) {
    return read(entry, Kind::kArray, [](const Json& json, int id) {
        return ArrayRecord{id,
                           json.at("level").get<int>(),
                           json.at("uuid").get<std::string>(),
                           json.at("members").get<std::vector<std::string>>(),
                           json.at("spares").get<std::vector<std::string>>(),
                           json.at("owner")};
    });
}

PoolRecord pool_of(const UndoEntry& entry) {
    return read(entry, Kind::kPool, [](const Json& json, int id) {
        return PoolRecord{id, json.at("arrays").get<std::vector<int>>(),
                          json.at("tag").get<std::string>(), json.at("uuid").get<std::string>(),
                          json.at("owner")};
    });
}

VolumeRecord volume_of(const UndoEntry& entry) {
    return read(entry, Kind::kVolume, [](const Json& json, int id) {
        return VolumeRecord{id, json.at("pool").get<int>(), json.at("tag").get<std::string>(),
                            json.at("uuid").get<std::string>(), json.at("owner")};
    });
}

std::vector<std::string> serials_of(const ArrayRecord& record) {
    std::vector<std::string> serials = record.members;
    serials.insert(serials.end(), record.spares.begin(), record.spares.end());
    return serials;
}

std::vector<ArrayRecord> arrays_in(const UndoList& undo) {
    return all(undo, Kind::kArray, array_of);
}
std::vector<PoolRecord> pools_in(const UndoList& undo) { return all(undo, Kind::kPool, pool_of); }
std::vector<VolumeRecord> volumes_in(const UndoList& undo) {
    return all(undo, Kind::kVolume, volume_of);
}

std::optional<ArrayRecord> find_array_record(const UndoList& undo, int id) {
    return one(undo, Kind::kArray, id, array_of);
}
std::optional<ArrayRecord> array_with(const UndoList& undo, const std::string& serial) {
    for (ArrayRecord& array : arrays_in(undo)) {
        const std::vector<std::string> serials = serials_of(array);
        if (std::find(serials.begin(), serials.end(), serial) != serials.end()) return array;
    }
    return std::nullopt;
}
std::optional<PoolRecord> find_pool_record(const UndoList& undo, int id) {
    return one(undo, Kind::kPool, id, pool_of);
}
std::optional<PoolRecord> pool_over(const UndoList& undo, int raid_id) {
    for (PoolRecord& pool : pools_in(undo)) {
        if (std::find(pool.arrays.begin(), pool.arrays.end(), raid_id) != pool.arrays.end())
            return pool;
    }
    return std::nullopt;
}
std::optional<VolumeRecord> find_volume_record(const UndoList& undo, int id) {
    return one(undo, Kind::kVolume, id, volume_of);
}

}  // namespace host
