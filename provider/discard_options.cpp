#include "provider/discard_options.h"

#include "shared/command_line.h"

provider::ParsedDiscard provider::parse_discard(int argc, char** argv, const char* devices) {
    constexpr uint64_t kMost = DiscardOptions::kMostMib;
    DiscardOptions options;
    ssd_op::shared::Arguments app("Discard the blocks of a device.");
    app.add("device", options.device, devices).required();
    app.add("-o", options.offset_mib, "First MiB to discard").between(uint64_t{0}, kMost);
    app.add("-l", options.length_mib, "MiB to discard").between(uint64_t{0}, kMost);
    app.add("-p", options.step_mib, "MiB to discard at a time").between(uint64_t{0}, kMost);
    const auto code = app.parse(argc, argv);
    return {options, !code, code.value_or(0)};
}
