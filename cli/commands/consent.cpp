#include <string>

#include <fmt/format.h>

#include "commands/commands.h"
#include "output/failure.h"
#include "output/terminal.h"
#include "ssd_op.h"

namespace cli {

namespace {

struct Options {
    std::string answer;
    bool json = false;
};

void store(bool agreed) {
    if (SSD_OP_Test_Set_User_Agreement(agreed ? 1 : 0) != 0) {
        throw Failure(kFailed, "The consent cannot be stored.",
                      "It is kept with the add-on Oprella: is that installed?");
    }
}

/// Nobody has been asked yet when there is nothing stored: that is no consent.
bool load() {
    int agreement = 0;
    return SSD_OP_Test_Get_User_Agreement(&agreement) == 0 && agreement == 1;
}

void run(const Options& options) {
    if (!options.answer.empty()) store(options.answer == "yes");
    const bool agreed = load();
    if (options.json) return print_json({{"consent", agreed}});
    fmt::print("{}\n", agreed ? "yes: a summary of each evaluation is uploaded, without the "
                                "appliance's model, serial number or network data"
                              : "no: nothing is uploaded");
}

}  // namespace

void add_consent_command(Arguments& app) {
    auto [command, options] =
        add_command(app, "consent", "Tell or change whether summaries are uploaded", run);
    command.add("ANSWER", options.answer, "yes or no; without it, tell").one_of({"yes", "no"});
    add_json_flag(command, options.json);
    command.footer("Example:\n  ssd-op consent yes");
}

}  // namespace cli
