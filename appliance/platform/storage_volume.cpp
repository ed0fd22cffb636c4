#include <optional>
#include <string>

#include <fmt/format.h>

#include "core/call.h"
#include "core/in_use.h"
#include "core/query.h"
#include "platform/storage.h"
#include "platform/storage_pool.h"
#include "provider/text.h"
#include "provider/volume_ids.h"

namespace appliance {

namespace {

constexpr int kBusy = -16;

std::optional<std::string> name_of(int lv_id) {
    return first<std::string>("SELECT name FROM lv WHERE lv_id = ?", lv_id);
}

int next_volume_id(uint64_t type) {
    const provider::IdRange range = provider::volume_ids(type);
    for (int id = range.first; id <= range.last; ++id)
        if (!name_of(id)) return id;
    return -1;
}

int create(LV_CREATE_REQUEST& request) {
    const provider::IdRange range = provider::volume_ids(request.type);
    if (!range.contains(request.lv_id) || name_of(request.lv_id)) return -1;
    if (!pool_exists(request.pool_id)) return -1;
    const uint64_t available = pool_free_sectors(request.pool_id);
    if (request.sectors == 0) request.sectors = available;
    if (request.sectors == 0 || request.sectors > available) return -1;
    change("INSERT INTO lv(lv_id, pool_id, name, mode, type, sectors) VALUES(?, ?, ?, ?, ?, ?)",
           request.lv_id, request.pool_id, fmt::format("/dev/mapper/lv{}", request.lv_id),
           request.mode, request.type, request.sectors);
    return 0;
}

int destroy(int lv_id) {
    const std::optional<std::string> name = name_of(lv_id);
    if (!name) return -1;
    // A program that still has the volume open keeps it, as with every block device.
    if (is_in_use(*name)) return kBusy;
    change("DELETE FROM lv WHERE lv_id = ?", lv_id);
    return 0;
}

int resize(int lv_id, uint64_t sectors) {
    const auto pool_id = first<int>("SELECT pool_id FROM lv WHERE lv_id = ?", lv_id);
    if (!pool_id) return -1;
    const uint64_t own =
        first<uint64_t>("SELECT sectors FROM lv WHERE lv_id = ?", lv_id).value_or(0);
    if (sectors == 0 || sectors > own + pool_free_sectors(*pool_id)) return -1;
    change("UPDATE lv SET sectors = ? WHERE lv_id = ?", sectors, lv_id);
    return 0;
}

}  // namespace

}  // namespace appliance

using namespace appliance;

int LV_Get_Next_Available_Id(int flags, uint64_t type) {
    return call("LV_Get_Next_Available_Id", arguments(flags, type),
                [&] { return next_volume_id(type); });
}

int LV_Create(LV_CREATE_REQUEST* request, int flags, int kind) {
    if (request == nullptr) return -1;
    return call("LV_Create",
                arguments(request->pool_id, request->lv_id, request->mode, request->type,
                          request->sectors, flags, kind),
                [&] { return exclusively([&] { return create(*request); }); });
}

int LV_Destroy(int lv_id) {
    return call("LV_Destroy", arguments(lv_id),
                [&] { return exclusively([&] { return destroy(lv_id); }); });
}

int LV_Resize(int lv_id, uint64_t sectors) {
    return call("LV_Resize", arguments(lv_id, sectors),
                [&] { return exclusively([&] { return resize(lv_id, sectors); }); });
}

int LV_Is_Exist(int lv_id) {
    return call("LV_Is_Exist", arguments(lv_id), [&] { return name_of(lv_id) ? 1 : 0; });
}

int LV_Get_Id(const char* name) {
    return call("LV_Get_Id", arguments(name), [&] {
        if (name == nullptr) return -1;
        return first<int>("SELECT lv_id FROM lv WHERE name = ?", name).value_or(-1);
    });
}

int LV_Get_Name(int lv_id, char* name, int size) {
    return call("LV_Get_Name", arguments(lv_id), [&] {
        const std::optional<std::string> found = name_of(lv_id);
        return found ? provider::hand_out(*found, name, size) : -1;
    });
}

int LV_Get_Pool_Id(int lv_id) {
    return call("LV_Get_Pool_Id", arguments(lv_id), [&] {
        return first<int>("SELECT pool_id FROM lv WHERE lv_id = ?", lv_id).value_or(-1);
    });
}

int LV_Get_Size(int lv_id, uint64_t* sectors) {
    return call("LV_Get_Size", arguments(lv_id), [&] {
        const auto size = first<uint64_t>("SELECT sectors FROM lv WHERE lv_id = ?", lv_id);
        if (sectors == nullptr || !size) return -1;
        *sectors = *size;
        return 0;
    });
}
