/// Drives room: which SSDs the host has, what they say of themselves, and the slots that they are
/// in. It looks at files of the kernel and asks tools; it opens no drive.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/device_number.h"
#include "core/roots.h"
#include "drives/identity.h"
#include "drives/place.h"

namespace host {

constexpr uint64_t kSectorBytes = 512;  ///< the kernel's unit, whatever a drive's block is

struct DiscardLimits {
    uint64_t most_bytes = 0;  ///< in one request; 0: the drive takes no discards
    uint64_t granularity = 0;
    bool supported() const { return most_bytes > 0 && granularity > 0; }
};

/// A whole drive, as the kernel shows it at one moment.
struct Drive {
    std::string name;       ///< for example nvme0n1; today's, so it is shown and not relied on
    std::string directory;  ///< where sysfs keeps it, every link followed
    DeviceNumber number;
    uint64_t bytes = 0;
    uint32_t block_bytes = 512;
    DiscardLimits discard;
    Identity identity;
    Place place;
    /// The kernel counts the drives that it meets: another drive has another number, even with the
    /// same name, device number and serial number.
    std::optional<uint64_t> sequence;

    std::string device(const Roots& roots) const { return roots.dev + "/" + name; }
};

/// Every solid-state drive that is built in: NVMe namespaces, SCSI and SATA disks, virtio disks.
/// One that lacks an attribute without which nothing can be told of it is not among them.
std::vector<Drive> list_drives(const Roots& roots);

/// The drive that has this device number now; none when it is gone or is no such drive.
std::optional<Drive> find_drive(const Roots& roots, DeviceNumber number);

/// False when another drive has its place or its number by now, or none has; the other one fails.
bool is_same(const Roots& roots, const Drive& drive);
void check_same(const Roots& roots, const Drive& drive);
[[noreturn]] void fail_changed(const Drive& drive);

/// The one drive with this serial number. Fails when there is none, or more than one.
Drive drive_with_serial(const Roots& roots, const std::string& serial);

}  // namespace host
