#include "undo/evaluations.h"

#include <algorithm>
#include <charconv>
#include <string>

#include "core/ini.h"
#include "core/process.h"
#include "core/text.h"

namespace host {

namespace {

/// Where the library announces its drivers, in the root that it runs in.
constexpr const char* kAnnounced = "/root/etc/.sm_v2_ssd_op_runtime_info";
constexpr const char* kKey = "driver";  // "PID START"

bool lives(const Roots& roots, const std::string& announced) {
    const auto words = split(announced, ' ');
    if (words.size() != 2) return false;
    int64_t process = 0;
    const char* const words_end = words[0].data() + words[0].size();
    const auto [end, error] = std::from_chars(words[0].data(), words_end, process);
    return error == std::errc() && end == words_end && beginning_of(roots, process) == words[1];
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
