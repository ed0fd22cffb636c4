#include "core/process.h"

#include <string_view>

#include <fmt/format.h>

#include "core/read.h"
#include "core/text.h"

namespace host {

std::optional<std::string> beginning_of(const Roots& roots, int64_t process) {
    constexpr size_t kState = 0, kBeginning = 19;  // behind the name, which may hold anything
    const auto line = read_file(fmt::format("{}/{}/stat", roots.proc, process), kAttributeLimit);
    const size_t name_end = line ? line->rfind(") ") : std::string::npos;
    if (name_end == std::string::npos) return std::nullopt;
    const auto fields = split(std::string_view(*line).substr(name_end + 2), ' ');
    if (fields.size() <= kBeginning || fields[kState] == "Z" || fields[kState] == "X")
        return std::nullopt;
    return std::string(fields[kBeginning]);
}

}  // namespace host
