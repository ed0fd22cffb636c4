#include "refusal/stack.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>
#include <unistd.h>

#include "core/failure.h"
#include "core/read.h"
#include "core/text.h"
#include "core/tool.h"
#include "refusal/loops.h"
#include "refusal/tables.h"

namespace host {

namespace {

constexpr size_t kMostDevices = 4096;  // in one stack
constexpr const char* kAutomount = "autofs";

std::vector<std::string> must_list(const std::string& directory) {
    auto names = names_in(directory);
    if (!names)
        throw Failure("The kernel's list " + directory + " cannot be read.", "Run it as root.");
    return std::move(*names);
}

DeviceNumber must_number(const std::string& directory) {
    const auto number = device_number_in(directory);
    if (!number)
        throw Failure("The kernel tells no device number in " + directory + ".", "Try again.");
    return *number;
}

bool is_partition(const std::string& directory) {
    return ::access((directory + "/partition").c_str(), F_OK) == 0;
}

std::string parent(const std::string& path) { return path.substr(0, path.rfind('/')); }

std::string holder_text(const Roots& roots, const std::string& name) {
    const std::string directory = roots.sys + "/block/" + name;
    const auto label = read_attribute(directory + "/dm/name");
    const std::string uuid = read_attribute(directory + "/dm/uuid").value_or("");
    const auto named = [&](const char* what) {
        const std::string shown = fmt::format("{} {}", what, printable(name));
        return label ? fmt::format("{} ({})", shown, printable(*label)) : shown;
    };
    if (uuid.starts_with("LVM-")) return named("the LVM volume");
    if (uuid.starts_with("CRYPT-")) return named("the encrypted device");
    if (uuid.starts_with("mpath-")) return named("the multipath device");
    if (name.starts_with("dm-")) return named("the device mapper device");
    if (name.starts_with("md")) return named("the md array");
    if (name.starts_with("bcache")) return named("the bcache device");
    return named("the device");
}

/// The devices right below one, which is no partition.
std::vector<DeviceNumber> below(const Roots& roots, const std::string& directory) {
    std::vector<DeviceNumber> found;
    const std::string slaves = directory + "/slaves/";
    for (const std::string& name : must_list(slaves)) {
        const auto slave = real_path(slaves + name);
        if (!slave) throw Failure("A device below " + directory + " is gone.", "Try again.");
        found.push_back(must_number(*slave));
    }
    const std::string name = directory.substr(directory.rfind('/') + 1);
    if (name.starts_with("loop")) {
        const auto shown = behind_loop(roots, name);
        if (!shown) throw Failure("The loop device " + name + " shows nothing.", "Try again.");
        found.push_back(*shown);
    }
    return found;
}

bool is_of_system(const std::string& point) {
    static constexpr std::array kPoints{"/",    "/boot", "/boot/efi", "/boot/firmware",
                                        "/efi", "/etc",  "/home",     "/opt",
                                        "/usr", "/var",  "/var/lib",  "/var/log"};
    return std::find(kPoints.begin(), kPoints.end(), point) != kPoints.end();
}

/// Such a file system lies on no drive of its own. What is under the layers of an overlay is
/// mounted itself somewhere, and the kernel lets nobody else have it.
bool has_no_drive(const std::string& type) {
    static constexpr std::array kTypes{"overlay", "tmpfs", "ramfs", "rootfs",  "9p",
                                       "nfs",     "nfs4",  "cifs",  "virtiofs"};
    return std::find(kTypes.begin(), kTypes.end(), type) != kTypes.end();
}

/// An automount stands in for what nobody has asked for lately, and that may lie on any drive. An
/// indirect one is the place of mounts below it, and no mount's own.
bool is_waiting(const Mount& mount, const std::vector<Mount>& all) {
    if (mount.type != kAutomount || mount.is_indirect || !is_of_system(mount.point)) return false;
    return std::none_of(all.begin(), all.end(), [&](const Mount& other) {
        return other.point == mount.point && other.type != kAutomount;
    });
}

/// All mounts, once what waits to be asked for was: it goes again when nobody needs it, in the
/// midst of an evaluation, too.
std::vector<Mount> settled_mounts(const Roots& roots) {
    std::vector<Mount> all = mounts(roots);
    bool asked = false;
    for (const Mount& mount : all) {
        if (!is_waiting(mount, all)) continue;
        // By a program, which can be ended should a server not answer.
        run_tool({"ls", "-d", roots.proc + "/1/root" + mount.point + "/."});
        asked = true;
    }
    return asked ? mounts(roots) : all;
}

}  // namespace

std::vector<Member> family_of(const Drive& drive) {
    std::vector<Member> family{{drive.name, drive.directory, drive.number}};
    for (const std::string& name : must_list(drive.directory)) {
        const std::string directory = drive.directory + "/" + name;
        if (is_partition(directory)) family.push_back({name, directory, must_number(directory)});
    }
    return family;
}

std::vector<std::string> holders_of(const Roots& roots, const Member& member) {
    std::vector<std::string> found;
    for (const std::string& name : must_list(member.directory + "/holders"))
        found.push_back(holder_text(roots, name));
    return found;
}

std::set<DeviceNumber> drives_below(const Roots& roots, DeviceNumber device) {
    std::set<DeviceNumber> drives, seen;
    std::vector<DeviceNumber> open{device};
    while (!open.empty()) {
        const DeviceNumber current = open.back();
        open.pop_back();
        if (!seen.insert(current).second) continue;
        if (seen.size() > kMostDevices)
            throw Failure("Too many devices are built on each other.", "Use none of its drives.");
        auto directory = real_path(roots.sys + "/dev/block/" + current.text());
        if (!directory) continue;  // of a file system without a device
        if (is_partition(*directory)) directory = parent(*directory);
        const auto next = below(roots, *directory);
        if (next.empty()) drives.insert(must_number(*directory));
        open.insert(open.end(), next.begin(), next.end());
    }
    return drives;
}

std::set<DeviceNumber> system_drives(const Roots& roots) {
    std::set<DeviceNumber> all;
    const std::vector<Mount> seen = settled_mounts(roots);
    for (const Mount& mount : seen) {
        if (!is_of_system(mount.point)) continue;
        if (is_waiting(mount, seen)) {
            throw Failure("What is to be mounted at " + mount.point + " cannot be told.",
                          "Run ls " + mount.point + "/ to see why it is not mounted.");
        }
        if (mount.type == kAutomount) continue;
        std::set<DeviceNumber> drives;
        for (const DeviceNumber device : mount.devices) drives.merge(drives_below(roots, device));
        if (drives.empty() && !has_no_drive(mount.type)) {
            throw Failure(fmt::format("The drives below {} cannot be told ({}).", mount.point,
                                      printable(mount.type)),
                          "A host whose system lies on such a file system cannot be used.");
        }
        all.merge(drives);
    }
    return all;
}

}  // namespace host
