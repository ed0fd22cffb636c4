#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/hal.h"
#include "platform/storage.h"

namespace appliance {

/// The enclosure that holds the drives, and the port of the first of them.
inline constexpr unsigned kEnclosure = 1;
inline constexpr unsigned kFirstPort = 1;

inline constexpr const char* kDataVolumePath = "/share/DATA_1";
inline constexpr const char* kAddonPath = "/share/DATA_1/.addons/Oprella";
inline constexpr const char* kNoticeHallPath = "/share/DATA_1/.addons/NoticeHall";
/// Sizes of the appliance's file systems, for its df: lines of "MOUNT_POINT SIZE_KIB [USED_KIB]".
inline constexpr const char* kCapacityFile = "/var/lib/appliance/capacity";
inline constexpr const char* kFlashDirectory = "/var/lib/appliance/flash";

/// One drive as it leaves its maker, and how the appliance has laid it out.
struct DriveBlueprint {
    std::string vendor = "Norwell";
    std::string model;      ///< empty: made from the size, for example NS510-64
    std::string serial_no;  ///< empty: a unique one
    std::string revision = "NS1.04";
    std::optional<std::string> wwn;  ///< unset: a unique one; empty: the drive has none
    double size_gb = 64;             ///< nominal, in units of 10^9 bytes
    uint32_t block_size = 512;
    int form_factor = PD_FORM_2_5_INCH;
    int interface_type = PD_INTERFACE_SATA;
    int rotation_speed = 0;
    uint32_t flags = PD_FLAG_SSD;
    double factory_spare_percent = 7;
    int meta_type = DISK_META_CURRENT;  ///< layout of the appliance's metadata on the drive
    bool partitioned = true;            ///< false: a drive without partitions
};

/// What an appliance is made of when it is new.
struct Blueprint {
    int drives = 4;                        ///< drives free for use, on ports kFirstPort and up
    DriveBlueprint drive;                  ///< what they are like
    std::map<int, DriveBlueprint> others;  ///< drives that differ, by position from 0

    /// Two hard disks behind the drives, mirrored as RAID group 1 under pool 1 and volume 1.
    /// Without them the data volume is simply there.
    bool system_pool = false;
    std::vector<int> reserved_raid_ids = {0};

    bool data_volume = true;  ///< the volume that holds the default shares
    bool data_volume_mounted = true;
    uint64_t data_volume_kib = 976'562'500;  ///< what df says of it, and of the small system area
    uint64_t system_area_kib = 524'288;
    bool services_running = true;
    bool addon_installed = true;         ///< the add-on Oprella
    bool notice_hall_installed = false;  ///< the notification application, with its notify link
};

/// Makes this instance a new appliance after the blueprint. Whatever it held before is gone: state,
/// journal, faults, flash contents, configuration files, test records, traces.
/// @throws std::exception when a file or the state cannot be written
void install(const Blueprint& blueprint);

/// The id of the n-th drive of a blueprint, n from 0.
constexpr unsigned drive_id(int position) {
    return (kEnclosure << 16) | (kFirstPort + static_cast<unsigned>(position));
}

namespace detail {
void install_files(const Blueprint& blueprint);  ///< the part of install that is outside the state
}

}  // namespace appliance
