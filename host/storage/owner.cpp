#include "storage/owner.h"

#include <optional>

#include <fmt/format.h>
#include <unistd.h>

#include "core/read.h"
#include "core/text.h"

namespace host {

namespace {

/// When a process began, in ticks since the boot. Its name, before that, may hold anything.
std::optional<std::string> beginning_of(const Roots& roots, int64_t pid) {
    constexpr size_t kBeginning = 20;  // behind the name
    const auto line = read_file(fmt::format("{}/{}/stat", roots.proc, pid), kAttributeLimit);
    const size_t name_end = line ? line->rfind(')') : std::string::npos;
    if (name_end == std::string::npos) return std::nullopt;
    const auto fields = split(std::string_view(*line).substr(name_end), ' ');
    if (fields.size() <= kBeginning || fields[1] == "Z") return std::nullopt;
    return std::string(fields[kBeginning]);
}

std::string boot(const Roots& roots) {
    return read_attribute(roots.proc + "/sys/kernel/random/boot_id").value_or("");
}

}  // namespace

Json this_process(const Roots& roots) {
    return {{"pid", ::getpid()},
            {"began", beginning_of(roots, ::getpid()).value_or("")},
            {"boot", boot(roots)}};
}

bool lives(const Roots& roots, const Json& process) {
    if (!process.is_object() || !process.contains("pid") || !process["pid"].is_number_integer())
        return false;
    const auto now = beginning_of(roots, process["pid"].get<int64_t>());
    return now && process.value("began", Json()) == Json(*now) &&
           process.value("boot", Json()) == Json(boot(roots));
}

}  // namespace host
