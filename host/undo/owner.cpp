#include "undo/owner.h"

#include <unistd.h>

#include "core/process.h"
#include "core/read.h"

namespace host {

std::string this_boot(const Roots& roots) {
    return read_attribute(roots.proc + "/sys/kernel/random/boot_id").value_or("");
}

Json this_process(const Roots& roots) {
    return {{"pid", ::getpid()},
            {"began", beginning_of(roots, ::getpid()).value_or("")},
            {"boot", this_boot(roots)}};
}

bool lives(const Roots& roots, const Json& process) {
    if (!process.is_object() || !process.contains("pid") || !process["pid"].is_number_integer())
        return false;
    const auto now = beginning_of(roots, process["pid"].get<int64_t>());
    return now && process.value("began", Json()) == Json(*now) &&
           process.value("boot", Json()) == Json(this_boot(roots));
}

}  // namespace host
