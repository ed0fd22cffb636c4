#include "undo/evaluations.h"

#include <algorithm>
#include <charconv>
#include <string>

#include <unistd.h>

#include "core/ini.h"
#include "core/read.h"
#include "core/text.h"
#include "undo/owner.h"

namespace host {

namespace {

/// Where the library announces its drivers, in the root that it runs in.
constexpr const char* kAnnounced = "/root/etc/.sm_v2_ssd_op_runtime_info";
constexpr const char* kKey = "driver";          // "PID START"
constexpr const char* kStart = "/root/.start";  // the boot that the private root is made for

/// As `lives` knows a process; what is damaged becomes nobody.
Json process_in(const std::string& announced, const std::string& boot) {
    const auto words = split(announced, ' ');
    if (words.size() != 2) return {};
    int64_t pid = 0;
    const char* const words_end = words[0].data() + words[0].size();
    const auto [end, error] = std::from_chars(words[0].data(), words_end, pid);
    if (error != std::errc() || end != words_end) return {};
    return {{"pid", pid}, {"began", words[1]}, {"boot", boot}};
}

}  // namespace

bool evaluation_runs(const Roots& roots, Among among) {
    const IniText sections = read_ini(roots.state + kAnnounced);
    const std::string boot = read_attribute(roots.state + kStart).value_or(this_boot(roots));
    return std::any_of(sections.begin(), sections.end(), [&](const auto& section) {
        const auto driver = section.second.find(kKey);
        if (driver == section.second.end()) return false;
        const Json process = process_in(driver->second, boot);
        return lives(roots, process) &&
               (among == Among::kAll || process["pid"].get<int64_t>() != ::getpid());
    });
}

}  // namespace host
