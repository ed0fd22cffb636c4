#include "refusal/openers.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include <fmt/format.h>
#include <unistd.h>

#include "core/failure.h"
#include "core/read.h"
#include "core/text.h"
#include "refusal/loops.h"

namespace host {

namespace {

constexpr size_t kMostFiles = 1 << 22;  // that a process may have open

/// Those by which commands reach the drive past its block devices.
std::vector<DeviceNumber> character_devices_of(const Member& drive) {
    const std::string device = drive.directory + "/device/";
    std::vector<std::string> directories;
    if (drive.name.starts_with("nvme")) directories.push_back(device + "ng" + drive.name.substr(4));
    for (const char* kind : {"scsi_generic/", "bsg/"}) {
        const std::string list = device + kind;
        if (::access(list.c_str(), F_OK) != 0) continue;
        const auto names = names_in(list);
        if (!names) throw Failure("The list " + list + " cannot be read.", "Try again.");
        for (const std::string& name : *names) directories.push_back(list + name);
    }
    std::vector<DeviceNumber> numbers;
    for (const std::string& directory : directories)
        if (const auto number = device_number_in(directory)) numbers.push_back(*number);
    return numbers;
}

std::vector<DeviceNode> nodes_of(const std::vector<Member>& family) {
    std::vector<DeviceNode> nodes;
    for (const Member& member : family) nodes.push_back({true, member.number});
    if (family.empty()) return nodes;
    for (const DeviceNumber number : character_devices_of(family.front()))
        nodes.push_back({false, number});
    return nodes;
}

/// Of the links in a process's fd directory, which lead to what is open whatever it is called now.
bool has_open(const std::string& process, const std::vector<DeviceNode>& nodes) {
    const std::string directory = process + "/fd";
    const auto files = names_in(directory, kMostFiles);
    if (!files) {
        if (::access(process.c_str(), F_OK) != 0) return false;  // it has ended
        throw Failure("What process " + process + " has open cannot be seen.", "Run it as root.");
    }
    return std::any_of(files->begin(), files->end(), [&](const std::string& file) {
        const auto node = device_at(directory + "/" + file);
        return node && std::find(nodes.begin(), nodes.end(), *node) != nodes.end();
    });
}

bool is_process(const std::string& name) {
    return std::all_of(name.begin(), name.end(),
                       [](unsigned char character) { return std::isdigit(character) != 0; });
}

/// The kernel itself opens what a loop device shows.
void add_loops(const Roots& roots, const std::vector<Member>& family,
               std::vector<std::string>& found) {
    const auto names = names_in(roots.sys + "/block");
    if (!names) throw Failure("The loop devices cannot be listed.", "Is sysfs mounted?");
    for (const std::string& name : *names) {
        if (!name.starts_with("loop")) continue;
        const auto shown = behind_loop(roots, name);
        if (shown && std::any_of(family.begin(), family.end(),
                                 [&](const Member& member) { return member.number == *shown; }))
            found.push_back("the loop device " + printable(name));
    }
}

/// In a PID namespace of its own, as in a container, only some processes show. The kernel gives the
/// first namespace this name, always.
bool sees_every_process(const Roots& roots) {
    std::error_code error;
    const auto name = std::filesystem::read_symlink(roots.proc + "/self/ns/pid", error);
    return !error && name == "pid:[4026531836]";
}

}  // namespace

std::vector<std::string> openers_of(const Roots& roots, const std::vector<Member>& family) {
    const auto names = names_in(roots.proc, kMostFiles);
    if (!sees_every_process(roots)) {
        throw Failure("Some processes cannot be seen from here, as from a container.",
                      "Run it on the host itself.");
    }
    if (!names) throw Failure("The processes cannot be listed.", "Is proc mounted?");
    const std::vector<DeviceNode> nodes = nodes_of(family);
    std::vector<std::string> found;
    for (const std::string& name : *names) {
        if (!is_process(name) || name == std::to_string(::getpid())) continue;
        const std::string process = roots.proc + "/" + name;
        if (!has_open(process, nodes)) continue;
        const std::string program = read_attribute(process + "/comm").value_or("a program");
        found.push_back(fmt::format("{} (process {})", printable(program), name));
    }
    add_loops(roots, family, found);
    return found;
}

}  // namespace host
