/// Volumes: logical volumes.

#include <algorithm>

#include "platform/storage.h"
#include "provider/call.h"
#include "provider/text.h"
#include "provider/volume_ids.h"
#include "storage/undoing.h"
#include "storage/unique.h"
#include "storage/volume.h"
#include "undo/owner.h"

using namespace host;
using provider::arguments;
using provider::call;

namespace {

constexpr uint64_t kSectorBytes = 512;

struct Found {
    VolumeRecord record;
    VolumeDevice device;
};

/// Of a volume that is there.
std::optional<Found> find(int lv_id) {
    const Roots roots;
    const UndoList undo(roots);
    const auto record = find_volume_record(undo, lv_id);
    const auto device = record ? find_volume(roots, undo, *record) : std::nullopt;
    return device ? std::optional<Found>({*record, *device}) : std::nullopt;
}

int next_volume_id(uint64_t type) {
    const UndoList undo(Roots{});
    const provider::IdRange range = provider::volume_ids(type);
    for (int id = range.first; id <= range.last; ++id) {
        if (!find_volume_record(undo, id)) return id;
    }
    return -1;
}

int id_of(const std::string& name) {
    const Roots roots;
    const UndoList undo(roots);
    for (const VolumeRecord& volume : volumes_in(undo)) {
        const auto device = find_volume(roots, undo, volume);
        if (device && device->path == name) return volume.id;
    }
    return -1;
}

int create(LV_CREATE_REQUEST& request) {
    const Roots roots;
    UndoList undo(roots);
    const provider::IdRange range = provider::volume_ids(request.type);
    const auto pool = find_pool_record(undo, request.pool_id);
    if (!range.contains(request.lv_id) || !pool || find_volume_record(undo, request.lv_id))
        return -1;
    const uint64_t most = free_bytes(roots, undo, *pool);
    if (request.sectors > most / kSectorBytes) return -1;
    const uint64_t bytes =
        possible_bytes(*pool, request.sectors == 0 ? most : request.sectors * kSectorBytes);
    if (bytes == 0) return -1;
    const VolumeRecord volume{
        request.lv_id, request.pool_id, new_lvm_tag(), {}, this_process(roots)};
    all_or_nothing(roots, undo, [&] { make_volume(roots, undo, volume, bytes); });
    request.sectors = bytes / kSectorBytes;
    return 0;
}

int destroy(int lv_id) {
    const Roots roots;
    UndoList undo(roots);
    if (!find_volume_record(undo, lv_id)) return -1;
    remove_volume(roots, undo, lv_id);
    return 0;
}

int resize(int lv_id, uint64_t sectors) {
    const Roots roots;
    const UndoList undo(roots);
    const auto volume = find_volume_record(undo, lv_id);
    const auto pool = volume ? find_pool_record(undo, volume->pool) : std::nullopt;
    if (!pool || sectors > free_bytes(roots, undo, *pool, lv_id) / kSectorBytes) return -1;
    const uint64_t bytes = possible_bytes(*pool, sectors * kSectorBytes);
    if (bytes == 0) return -1;
    resize_volume(roots, undo, *volume, bytes);
    return 0;
}

}  // namespace

int LV_Get_Next_Available_Id(int flags, uint64_t type) {
    return call("LV_Get_Next_Available_Id", arguments(flags, type),
                [&] { return next_volume_id(type); });
}

int LV_Create(LV_CREATE_REQUEST* request, int flags, int kind) {
    if (request == nullptr) return -1;
    return call("LV_Create",
                arguments(request->pool_id, request->lv_id, request->mode, request->type,
                          request->sectors, flags, kind),
                [&] { return create(*request); });
}

int LV_Destroy(int lv_id) {
    return call("LV_Destroy", arguments(lv_id), [&] { return destroy(lv_id); });
}

int LV_Resize(int lv_id, uint64_t sectors) {
    return call("LV_Resize", arguments(lv_id, sectors), [&] { return resize(lv_id, sectors); });
}

int LV_Is_Exist(int lv_id) {
    return call("LV_Is_Exist", arguments(lv_id), [&] { return find(lv_id) ? 1 : 0; });
}

int LV_Get_Id(const char* name) {
    return call("LV_Get_Id", arguments(name), [&] { return name == nullptr ? -1 : id_of(name); });
}

int LV_Get_Name(int lv_id, char* name, int size) {
    return call("LV_Get_Name", arguments(lv_id), [&] {
        const auto found = find(lv_id);
        return found ? provider::hand_out(found->device.path, name, size) : -1;
    });
}

int LV_Get_Pool_Id(int lv_id) {
    return call("LV_Get_Pool_Id", arguments(lv_id), [&] {
        const auto found = find(lv_id);
        return found ? found->record.pool : -1;
    });
}

int LV_Get_Size(int lv_id, uint64_t* sectors) {
    return call("LV_Get_Size", arguments(lv_id), [&] {
        const auto found = find(lv_id);
        if (sectors == nullptr || !found) return -1;
        *sectors = found->device.bytes / kSectorBytes;
        return 0;
    });
}
