#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace cli {

/// A drive of the appliance, as the platform tells it now.
struct Drive {
    uint32_t id;
    std::string device;  // "/dev/sda"
    std::string slot;    // "Disk 1"
    std::string vendor;
    std::string model;
    std::string serial_no;
    std::string firmware;
    uint64_t capacity_bytes;
    uint64_t data_bytes;  // of the data partition, or of the drive when it has none
    bool is_ssd;
    bool is_fast;     // not behind SATA or SAS
    int raid_id;      // group that holds it; -1: none
    int pool_id;      // pool over that group; -1: none
    int record_no;    // running evaluation that it is in; 0: none
    bool broken_off;  // that evaluation's process is gone
    int left_by;      // evaluation that has ended and left the group; 0: none

    bool is_free() const { return raid_id < 0 && record_no == 0; }
};

/// Every present drive.
std::vector<Drive> load_drives();

/// A sentence for whoever finds none: on a host, only drives that were given are there.
std::string no_drives();

/// The drive that a user means: "sda", "/dev/sda", the slot's name, or the id, decimal or as 0x....
/// @throws Failure when there is none, telling which there are
const Drive& find_drive(const std::vector<Drive>& drives, const std::string& name);

/// "in pool 1 (RAID group 1)", "in evaluation 3", "free" and so on.
std::string use_of(const Drive& drive);

}  // namespace cli
