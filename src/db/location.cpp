// Where the database lies: beside the default shares on the data volume, or in the system area.

#include "db/location.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include <sys/stat.h>

#include "base/boundary.h"
#include "base/command.h"
#include "base/file_lock.h"
#include "base/text.h"
#include "db/database.h"
#include "db/move.h"
#include "platform/storage.h"
#include "ssd_op.h"

namespace ssd_op::db {

namespace {

constexpr size_t kPathSize = 256;
constexpr int kFigureSize = 64;  // what df prints for one figure
constexpr const char* kSystemArea = "/mnt/HDA_ROOT";

std::string cut_to_path(std::string path) {
    path.resize(std::min(path.size(), kPathSize - 1));
    return path;
}

std::string system_path() { return std::string(kSystemArea) + "/.config/Oprella/ssd_op.db"; }

/// The volume that holds the default shares.
struct DataVolume {
    bool is_mounted = false;
    std::string mount_path;

    std::string database_path() const {
        return is_mounted ? cut_to_path(mount_path + "/.Oprella/ssd_op.db") : std::string();
    }
};

DataVolume find_data_volume() {
    const int volume = Check_Default_Share_in_All_Vol(0);
    char mount_path[kPathSize] = "";
    if (volume <= 0 || Volume_Is_Mount(volume, mount_path, kPathSize) <= 0) return {};
    return {true, std::string(base::field_text(mount_path))};
}

int make_volume_folder(const DataVolume& volume) {
    return base::run("/bin/mkdir -p " + base::shell_word(volume.mount_path + "/.Oprella") +
                     " &>/dev/null 2>>/dev/null");
}

int make_system_folder() {
    return base::run("/bin/mkdir -p /mnt/HDA_ROOT/.config/Oprella &>/dev/null 2>>/dev/null");
}

/// One figure of the file system that holds `path`; `field` counts from the end of df's last line.
int read_figure(const std::string& path, const char* field, unsigned long long& figure) {
    const auto [result, text] = base::run_and_read(
        "/bin/df -k " + base::shell_word(path) +
            " 2>>/dev/null | /usr/bin/tail -n1 | /bin/awk -F ' ' '{print " + field + "}'",
        kFigureSize);
    if (result == 0) figure = std::strtoull(text.c_str(), nullptr, 10);
    return result;
}

/// Chooses the place for a new database, the one with more room, and makes its folder.
int prepare_new_place(const DataVolume& volume, std::string& path) {
    Usage on_volume;
    if (volume.is_mounted && read_usage(SSD_OP_DB_LOCATION_VOLUME, on_volume) == 0) {
        Usage on_system;
        read_usage(SSD_OP_DB_LOCATION_SYSTEM, on_system);
        if (on_volume.available >= on_system.available) {
            path = volume.database_path();
            return make_volume_folder(volume);
        }
    }
    path = system_path();
    return make_system_folder();
}

/// The places that the database can be at now; the volume goes first.
Places places(const DataVolume& volume) {
    if (volume.is_mounted) return {volume.database_path(), system_path()};
    return {system_path()};
}

int location_of(const DataVolume& volume) {
    const std::string found = find_database(places(volume));
    if (found.empty()) return SSD_OP_DB_LOCATION_NONE;
    return found == system_path() ? SSD_OP_DB_LOCATION_SYSTEM : SSD_OP_DB_LOCATION_VOLUME;
}

/// The path of the database that is at a location, or that comes to be when it is nowhere.
int prepare_path(const DataVolume& volume, int location, std::string& path) {
    if (location == SSD_OP_DB_LOCATION_NONE) return prepare_new_place(volume, path);
    path = location == SSD_OP_DB_LOCATION_VOLUME ? volume.database_path() : system_path();
    return 0;
}

bool has_room_on_volume() {
    Usage on_volume;
    Usage on_system;
    unsigned long long size = 0;
    return read_usage(SSD_OP_DB_LOCATION_VOLUME, on_volume) == 0 &&
           read_usage(SSD_OP_DB_LOCATION_SYSTEM, on_system) == 0 && read_size(size) == 0 &&
           on_volume.available > on_system.available + size;
}

bool has_room_in_system_area() {
    Usage on_system;
    unsigned long long size = 0;
    return read_usage(SSD_OP_DB_LOCATION_SYSTEM, on_system) == 0 && read_size(size) == 0 &&
           on_system.available > size;
}

int move_to(int location) {
    const DataVolume volume = find_data_volume();
    if (!settle_moves(places(volume))) return -1;
    const int current = location_of(volume);
    if (location != SSD_OP_DB_LOCATION_NONE && location == current) return 0;
    if (volume.mount_path.empty()) return -1;
    if (location == SSD_OP_DB_LOCATION_VOLUME && current == SSD_OP_DB_LOCATION_SYSTEM &&
        has_room_on_volume()) {
        const int folder = make_volume_folder(volume);
        return folder | move_database(system_path(), volume.database_path());
    }
    if (location == SSD_OP_DB_LOCATION_SYSTEM && current == SSD_OP_DB_LOCATION_VOLUME &&
        has_room_in_system_area()) {
        const int folder = make_system_folder();
        return folder | move_database(volume.database_path(), system_path());
    }
    return -1;
}

}  // namespace

std::optional<std::string> find_settled() {
    const DataVolume volume = find_data_volume();
    if (!settle_moves(places(volume))) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to settle a move of the database.\n", __func__);
        return std::nullopt;
    }
    std::string path;
    if (prepare_path(volume, location_of(volume), path) != 0) return std::nullopt;
    return path;
}

int read_usage(int location, Usage& usage) {
    usage = {};
    std::string path = kSystemArea;
    if (location == SSD_OP_DB_LOCATION_VOLUME) {
        const DataVolume volume = find_data_volume();
        if (!volume.is_mounted) return -1;
        path = volume.mount_path;
    } else if (location != SSD_OP_DB_LOCATION_SYSTEM) {
        return -1;
    }
    if (path.empty()) return 0;
    const int used_result = read_figure(path, "$(NF-3)", usage.used);
    unsigned long long available = 0;
    const int result = used_result | read_figure(path, "$(NF-2)", available);
    if (result == 0) usage.available = available;
    return result;
}

int locate(int& location, std::string* path) noexcept {
    location = SSD_OP_DB_LOCATION_NONE;
    return base::guarded("SSD_OP_DB_Get_Location", -1, [&] {
        const DataVolume volume = find_data_volume();
        location = location_of(volume);
        return path == nullptr ? 0 : prepare_path(volume, location, *path);
    });
}

int read_size(unsigned long long& size_kb) noexcept {
    size_kb = 0;
    int location = SSD_OP_DB_LOCATION_NONE;
    std::string path;
    const int result = locate(location, &path);
    struct stat status {};
    if (result == 0 && location != SSD_OP_DB_LOCATION_NONE && !path.empty() &&
        ::stat(path.c_str(), &status) == 0)
        size_kb = static_cast<unsigned long long>(status.st_size) >> 10;
    return result;
}

int set_location(int location) noexcept {
    return base::guarded("SSD_OP_DB_Set_Location", -1, [&] {
        if (location != SSD_OP_DB_LOCATION_NONE && location == location_of(find_data_volume()))
            return 0;
        const base::FileLock lock = base::FileLock::for_writing(kDatabaseLock);
        return move_to(location);
    });
}

}  // namespace ssd_op::db
