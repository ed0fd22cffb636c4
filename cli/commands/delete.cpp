#include <algorithm>
#include <vector>

#include <fmt/format.h>

#include "commands/commands.h"
#include "model/choice.h"
#include "model/record.h"
#include "output/failure.h"
#include "output/terminal.h"
#include "output/text.h"

namespace cli {

namespace {

struct Options {
    std::vector<int> record_nos;
    bool all = false;
    bool yes = false;
    bool json = false;
};

/// Ascending, each once. @throws Failure when one does not exist
std::vector<int> choose(const Options& options) {
    if (options.all) return record_nos();
    std::vector<int> chosen = options.record_nos;
    std::sort(chosen.begin(), chosen.end());
    chosen.erase(std::unique(chosen.begin(), chosen.end()), chosen.end());
    for (const int record_no : chosen) require_existence(record_no);
    return chosen;
}

void ask(const std::vector<int>& chosen) {
    for (const int record_no : chosen) {
        const Record record = require_record(record_no);
        fmt::print(stderr, "  {}  {}  {}\n", record_no, moment_text(record->start_time),
                   printable(record->title));
    }
    const std::string what = count_text(chosen.size(), "record");
    if (!confirmed(fmt::format("Delete {} with all figures?", what)))
        throw Failure(kNotConfirmed, "Nothing has been deleted.");
}

void remove(int record_no) {
    if (SSD_OP_DB_Delete_Record(record_no) == 0) return;
    throw reported_in_log(record_no == SSD_OP_ALL_RECORDS
                              ? "The records cannot be deleted."
                              : fmt::format("Record {} cannot be deleted.", record_no));
}

void run(const Options& options) {
    if (!options.all && options.record_nos.empty())
        throw Failure(kWrongUsage, "Which records?", "Name their numbers, or say --all.");
    const std::vector<int> chosen = choose(options);
    refuse_held(chosen, "its record cannot be deleted.");
    if (!options.yes && !chosen.empty()) ask(chosen);
    if (options.all && !chosen.empty()) {
        remove(SSD_OP_ALL_RECORDS);
    } else {
        std::for_each(chosen.begin(), chosen.end(), remove);
    }
    if (options.json)
        print_json({{"deleted", chosen}});
    else
        fmt::print("Deleted {}.\n", count_text(chosen.size(), "record"));
}

}  // namespace

void add_delete_command(Arguments& app) {
    auto [command, options] =
        add_command(app, "delete", "Delete records with all their figures. Asks before.", run);
    const Argument records = command.add("RECORD", options.record_nos, "Their numbers");
    command.flag("--all", options.all, "All records; numbers start at 1 again").excludes(records);
    command.flag("--yes", options.yes, "Do not ask");
    add_json_flag(command, options.json);
    command.footer(
        "Records of evaluations that run, still close, or have left storage are refused, and "
        "nothing is deleted then.\n"
        "\n"
        "Example:\n"
        "  ssd-op delete 3 4");
}

}  // namespace cli
