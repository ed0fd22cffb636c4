#include <array>
#include <memory>

#include <fmt/format.h>

#include "commands.h"
#include "failure.h"
#include "ssd_op.h"
#include "terminal.h"
#include "text.h"

namespace cli {

namespace {

const char* location_word(int location) {
    return location == SSD_OP_DB_LOCATION_VOLUME ? "data volume" : "system area";
}

/// The library makes the directory when it is asked for the path of a database that does not exist
/// yet, so that is asked first.
void run(bool json) {
    std::array<char, 256> path{};
    int location = SSD_OP_DB_LOCATION_NONE;
    unsigned long long size_kb = 0;
    if (SSD_OP_DB_Get_Location(&location, nullptr, 0) != 0 || location == SSD_OP_DB_LOCATION_NONE) {
        throw Failure(kNotFound, "There is no database yet.", "ssd-op start makes it.");
    }
    SSD_OP_DB_Get_Location(&location, path.data(), static_cast<int>(path.size()));
    SSD_OP_DB_Get_Size(&size_kb);
    if (json) {
        print_json(
            {{"location", location_word(location)}, {"path", path.data()}, {"size_kib", size_kb}});
    } else {
        fmt::print("{}  ({}, {} KiB)\n", printable(path.data()), location_word(location), size_kb);
    }
}

}  // namespace

void add_where_command(CLI::App& app) {
    auto* command = app.add_subcommand("where", "Tell where the database of records lies");
    auto json = std::make_shared<bool>(false);
    add_json_flag(*command, *json);
    command->footer("Example:\n  ssd-op where");
    command->callback([json] { run(*json); });
}

}  // namespace cli
