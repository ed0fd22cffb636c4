#include "undo/evaluations.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>

#include "core/ini.h"
#include "core/read.h"
#include "core/text.h"

namespace host {

namespace {

/// Where the library announces its drivers, in the root that it runs in.
constexpr const char* kAnnounced = "/root/etc/.sm_v2_ssd_op_runtime_info";
constexpr const char* kKey = "driver";  // "PID START"

bool is_number(std::string_view text) {
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

/// Id and start together are one process; the id alone may be another's by now.
bool lives(const Roots& roots, const std::string& announced) {
    constexpr size_t kStart = 19;  // behind the name, which may hold blanks and brackets
    const auto words = split(announced, ' ');
    if (words.size() != 2 || !is_number(words[0]) || !is_number(words[1])) return false;
    const auto stat = read_attribute(roots.proc + "/" + std::string(words[0]) + "/stat");
    const size_t name_end = stat ? stat->rfind(") ") : std::string::npos;
    if (name_end == std::string::npos) return false;
    const auto fields = split(std::string_view(*stat).substr(name_end + 2), ' ');
    return fields.size() > kStart && fields[kStart] == words[1] && fields[0] != "Z" &&
           fields[0] != "X";
}

}  // namespace

bool evaluation_runs(const Roots& roots) {
    const IniText sections = read_ini(roots.state + kAnnounced);
    return std::any_of(sections.begin(), sections.end(), [&](const auto& section) {
        const auto driver = section.second.find(kKey);
        return driver != section.second.end() && lives(roots, driver->second);
    });
}

}  // namespace host
