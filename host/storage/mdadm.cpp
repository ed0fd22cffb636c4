#include "storage/mdadm.h"

#include <algorithm>

#include "core/failure.h"
#include "core/read.h"
#include "core/text.h"

namespace host {

namespace {

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
    std::string told = uuid_told(run_tool({"mdadm", "--detail", "--export", array.device(roots)}));
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

std::string uuid_told(const ToolOutput& output) {
    constexpr int kNone = 1;  // no array, or no superblock
    if (!output.found || !output.whole || (output.status != 0 && output.status != kNone)) {
        throw Failure("mdadm does not tell which arrays there are: " +
                          (output.found ? "it was ended early." : std::string("there is none.")),
                      "Is mdadm installed, and memory left? Then run it again.");
    }
    const auto values = exported(output.text);
    const auto found = values.find("MD_UUID");
    return found != values.end() ? found->second : "";
}

std::vector<MdArray> arrays_there(const Roots& roots) {
    const auto names = names_in(roots.sys + "/block");
    if (!names) throw Failure("The arrays cannot be listed.", "Is sysfs mounted?");
    std::vector<MdArray> arrays;
    for (const std::string& name : *names) {
        const auto directory = real_path(roots.sys + "/block/" + name);
        if (name.starts_with("md") && directory) arrays.push_back(look_at(name, *directory));
    }
    return arrays;
}

std::optional<MdArray> find_array(const Roots& roots, const std::string& uuid) {
    const std::vector<MdArray> arrays = arrays_there(roots);
    const auto found = std::find_if(arrays.begin(), arrays.end(), [&](const MdArray& array) {
        return uuid_of(roots, array) == uuid;
    });
    return found != arrays.end() ? std::optional(*found) : std::nullopt;
}

std::string superblock_uuid(const std::string& device) {
    return uuid_told(run_tool({"mdadm", "--examine", "--export", device}));
}

}  // namespace host
