#include "refusal/openers.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include <fmt/format.h>
#include <unistd.h>

#include "core/failure.h"
#include "core/read.h"
#include "core/text.h"

namespace host {

namespace {

constexpr size_t kMostFiles = 1 << 22;  // that a process may have open

bool is_one_of(const std::vector<Member>& family, const std::string& path) {
    const auto number = block_device_at(path);
    return number && std::any_of(family.begin(), family.end(),
                                 [&](const Member& member) { return member.number == *number; });
}

/// Of the links in a process's fd directory, which lead to what is open whatever it is called now.
bool has_open(const std::string& process, const std::vector<Member>& family) {
    const std::string directory = process + "/fd";
    const auto files = names_in(directory, kMostFiles);
    if (!files) {
        if (::access(process.c_str(), F_OK) != 0) return false;  // it has ended
        throw Failure("What process " + process + " has open cannot be seen.", "Run it as root.");
    }
    return std::any_of(files->begin(), files->end(), [&](const std::string& file) {
        return is_one_of(family, directory + "/" + file);
    });
}

bool is_process(const std::string& name) {
    return std::all_of(name.begin(), name.end(),
                       [](unsigned char character) { return std::isdigit(character) != 0; });
}

/// The kernel itself opens what a loop device shows.
void add_loops(const Roots& roots, const std::vector<Member>& family,
               std::vector<std::string>& found) {
    for (const std::string& name :
         names_in(roots.sys + "/block").value_or(std::vector<std::string>())) {
        if (!name.starts_with("loop")) continue;
        const auto file = read_attribute(roots.sys + "/block/" + name + "/loop/backing_file");
        if (!file) continue;
        if (is_one_of(family, *file)) found.push_back("the loop device " + printable(name));
        if (file->starts_with(roots.dev + "/") && ::access(file->c_str(), F_OK) != 0) {
            throw Failure(fmt::format("The loop device {} shows {}, which is not there.",
                                      printable(name), printable(*file)),
                          "Detach it with losetup -d.");
        }
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
    std::vector<std::string> found;
    for (const std::string& name : *names) {
        if (!is_process(name) || name == std::to_string(::getpid())) continue;
        const std::string process = roots.proc + "/" + name;
        if (!has_open(process, family)) continue;
        const std::string program = read_attribute(process + "/comm").value_or("a program");
        found.push_back(fmt::format("{} (process {})", printable(program), name));
    }
    add_loops(roots, family, found);
    return found;
}

}  // namespace host
