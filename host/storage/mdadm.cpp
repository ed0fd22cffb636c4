#include "storage/mdadm.h"

#include "core/failure.h"
#include "core/read.h"
#include "core/text.h"
#include "core/tool.h"

namespace host {

namespace {

std::string uuid_in(const ToolOutput& output) {
    const auto values = exported(output.text);
    const auto found = values.find("MD_UUID");
    return found != values.end() ? found->second : "";
}

MdArray look_at(const std::string& name, const std::string& directory) {
    MdArray array{name, directory, read_number(directory + "/size").value_or(0) * 512, {}};
    const std::string slaves = directory + "/slaves/";
    for (const std::string& slave : names_in(slaves).value_or(std::vector<std::string>())) {
        // One that was pulled is still listed, and leads nowhere.
        const auto number =
            parse_device_number(read_attribute(slaves + slave + "/dev").value_or(""));
        if (number) array.members.push_back(*number);
    }
    return array;
}

/// One that does not run tells its UUID only on its members.
std::string uuid_of(const Roots& roots, const MdArray& array) {
    std::string told = uuid_in(run_tool({"mdadm", "--detail", "--export", array.device(roots)}));
    if (!told.empty()) return told;
    for (const std::string& member :
         names_in(array.directory + "/slaves").value_or(std::vector<std::string>())) {
        std::string uuid = superblock_uuid(roots.dev + "/" + member);
        if (!uuid.empty()) return uuid;
    }
    return {};
}

}  // namespace

std::map<std::string, std::string> exported(const std::string& text) {
    std::map<std::string, std::string> values;
    for (const std::string_view line : split(text, '\n')) {
        const size_t equals = line.find('=');
        if (equals != std::string_view::npos)
            values.emplace(line.substr(0, equals), trimmed(line.substr(equals + 1)));
    }
    return values;
}

std::optional<MdArray> find_array(const Roots& roots, const std::string& uuid) {
    const auto names = names_in(roots.sys + "/block");
    if (!names) throw Failure("The arrays cannot be listed.", "Is sysfs mounted?");
    for (const std::string& name : *names) {
        const auto directory = real_path(roots.sys + "/block/" + name);
        if (!name.starts_with("md") || !directory) continue;
        MdArray array = look_at(name, *directory);
        if (uuid_of(roots, array) == uuid) return array;
    }
    return std::nullopt;
}

std::string superblock_uuid(const std::string& device) {
    return uuid_in(run_tool({"mdadm", "--examine", "--export", device}));
}

}  // namespace host
