#include "commands/file_options.h"

#include <filesystem>

#include "output/failure.h"
#include "process/report_copy.h"

namespace cli {

Argument add_file_options(Arguments& command, FileOptions& options, const char* help) {
    Argument output = command.add("--output", options.output, help);
    output.check(
        [](const std::string& name) { return name.empty() ? "a file has no empty name" : ""; });
    command.flag("--force", options.force, "Write over a file").needs(output);
    add_json_flag(command, options.json);
    return output;
}

void check_output(const FileOptions& options) {
    if (options.prints() && options.json)
        throw Failure(kRefused, "The report and JSON cannot share the output.",
                      "Name a file: --output FILE");
    std::error_code ignored;
    if (!options.output.empty() && !options.prints() &&
        !std::filesystem::is_directory(options.output, ignored))
        refuse_existing(options.output, options.force);
}

}  // namespace cli
